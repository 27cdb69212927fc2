#include "print/print.h"
