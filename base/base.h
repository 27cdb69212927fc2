// Chief header of the lowest layer: files, dates, strings, the message catalogues, and the way to the
// operator.
#pragma once

#include "base/catalog.h"
#include "base/dates.h"
#include "base/file_view.h"
#include "base/files.h"
#include "base/operator.h"
#include "base/strformat.h"
#include "base/text.h"
