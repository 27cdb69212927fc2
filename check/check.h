// Chief header of the checks: what they are, and what lasts for a session.
#pragma once

#include "data/data.h"

/// Session flags: true when the check has passed in this session.
extern bool ok_labels;
extern bool ok_series;
extern bool ok_prices;
extern bool ok_sizes;
extern bool ok_transit;
extern bool ok_order_criteria;
extern bool ok_customers;
extern bool ok_titles;
extern bool ok_countries;
extern bool ok_master;
extern bool ok_ean;
extern bool ok_order_numbers;
extern bool ok_barcodes;
extern bool ok_journals;
/// One of the three entries of the menu is running its sequence.
extern bool chk_full_run;
/// The operator cancelled a check of the sequence. The sequence then stops without a summary, even when that
/// check passed earlier in the session.
extern bool chk_broken_off;
/// The index of the series file was made anew in this session.
extern bool chk_series_index_made;

/// The checks. Each walks its files, reports, repairs what the operator agrees to, and sets its session flag
/// when it has passed.
void chk_labels();
void chk_series();
void chk_prices();
void chk_sizes();
void chk_transit();
void chk_order_criteria();
void chk_customers();
void chk_titles();
void chk_countries();
void chk_master();
void chk_ean();
void chk_order_numbers();
void chk_barcodes();
void chk_journals();
