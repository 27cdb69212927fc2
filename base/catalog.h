// The message catalogues. Every text a user sees is fetched by set and number; the Dutch default built into
// the program is shown when the catalogue, or the text in it, is missing.
#pragma once

/// Sets the locale and opens TERM351 (terminal and file layers) and DETAIL (application). A catalogue
/// that can't be opened is not an error.
void catalog_open();
void catalog_close();

/// Text of TERM351 or of DETAIL. `format_arg` lets the compiler check calls that use the text as a format.
[[gnu::format_arg(3)]] const char *term_text(int set, int number, const char *fallback);
[[gnu::format_arg(3)]] const char *detail_text(int set, int number, const char *fallback);
