#include "sub/openfiles.h"

open_files session_files;
