#include "check/check.h"
