// An audit of a shop's files that shares nothing with the program: its own reading of the bytes, its own
// rules of what agrees with what.
#pragma once

#include <string>
#include <vector>

enum audit_part : unsigned {
    audit_labels = 1,      ///< label chains, and what the series say of their labels
    audit_prices = 2,      ///< price chains, a price for every label
    audit_sizes = 4,       ///< size kinds, sizes of labels, prices and series
    audit_transit = 8,     ///< goods in transit
    audit_criteria = 16,   ///< order criteria
    audit_customers = 32,  ///< customers, and the chains of their labels where these are kept
    audit_amounts = 64,    ///< what customers bought, counted again
    audit_master = 128,    ///< reference files, and what series refer to
    audit_codes = 256,     ///< EAN codes, replaced codes, order numbers at suppliers
    audit_journals = 512,  ///< order journals and the list of order numbers
    audit_all = 1023,
};

/// What is wrong in the files of `directory`, a line each; at most 40 lines. `today` is the day number that
/// the shop was made for.
std::vector<std::string> audit_shop(const std::string &directory, unsigned today, unsigned parts = audit_all);
