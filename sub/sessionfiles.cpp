#include "sub/sessionfiles.h"

session_files chk_files;
