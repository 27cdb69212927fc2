// Chief header of the shared modules over data files: start-up and hand-over, the system file, messages.
#pragma once

#include "isam/isam.h"
#include "sub/batchvw.h"
#include "sub/errors.h"
#include "sub/iofil.h"
#include "sub/iotab.h"
#include "sub/runprogram.h"
#include "sub/startup.h"
