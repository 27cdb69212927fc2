#include "data/sessionfiles.h"

session_files chk_files;
