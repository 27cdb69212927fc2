#include "screen/screen.h"
