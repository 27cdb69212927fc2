// An audit of a shop's files that shares nothing with the program: its own reading of the bytes, its own
// rules of what agrees with what. What the cases of a check compare to the byte is not
// read: goods in transit, reference files, records of customers, order numbers and replaced codes, journals.
#pragma once

#include <string>

enum audit_part : unsigned {
    audit_labels = 1,      ///< label chains, and what the series say of their labels
    audit_prices = 2,      ///< price chains, a price for every label
    audit_sizes = 4,       ///< sizes of labels, prices and series
    audit_criteria = 8,    ///< order criteria
    audit_customers = 16,  ///< chains of the labels of customers
    audit_amounts = 32,    ///< with the customers: what they bought, counted again
    audit_codes = 64,      ///< EAN codes
    audit_all = 127,
};

/// What is wrong in the files of `directory`, a line each; at most 40 lines. `today` is the day number that
/// the shop was made for.
std::string audit_shop(const std::string &directory, unsigned today, unsigned parts);
