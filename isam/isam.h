// Chief header of the lowest layer: files, dates, strings, the message catalogues, and the way to the
// operator.
#pragma once

#include "isam/catalog.h"
#include "isam/dates.h"
#include "isam/files.h"
#include "isam/operator.h"
#include "isam/store.h"
#include "isam/strformat.h"
#include "isam/text.h"
