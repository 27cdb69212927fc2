#include "sub/sub.h"
