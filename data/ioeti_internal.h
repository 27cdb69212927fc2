// What the files of the label module share.
#pragma once

/// What was noted when the label file was opened: whether goods in transit is in use, and the test mode.
bool eti_transit_in_use();
bool eti_test_mode();
/// Forgets what was looked up in RVART and row 1.
void eti_forget_values();
