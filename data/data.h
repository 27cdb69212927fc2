// Chief header of the modules over the data files of a shop: the system file, labels, prices, sizes and
// reference records, messages.
#pragma once

#include "base/base.h"
#include "data/batch_lock.h"
#include "data/errors.h"
#include "data/ioeti.h"
#include "data/iofil.h"
#include "data/ioink.h"
#include "data/iomaat.h"
#include "data/iotab.h"
#include "data/leesstam.h"
#include "data/pairopen.h"
#include "data/serieskey.h"
#include "data/sessionfiles.h"
#include "data/shop_session.h"
#include "store/store.h"
