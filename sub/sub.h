// Chief header of the shared modules over data files: start-up and hand-over, the system file, labels,
// prices, sizes and reference records, messages.
#pragma once

#include "base/base.h"
#include "store/store.h"
#include "sub/batchvw.h"
#include "sub/errors.h"
#include "sub/ioeti.h"
#include "sub/iofil.h"
#include "sub/ioink.h"
#include "sub/iomaat.h"
#include "sub/iotab.h"
#include "sub/leesstam.h"
#include "sub/pairopen.h"
#include "sub/runprogram.h"
#include "sub/serieskey.h"
#include "sub/sessionfiles.h"
#include "sub/startup.h"
