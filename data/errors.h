// Fatal stops in the forms that name a module. None of them returns.
#pragma once

/// "MODULE: Onvoldoende geheugen (nr=N)".
[[noreturn]] void err_nomem(const char *module, int number);
/// "MODULE: Open niet gelukt (file=F, errno=E)", with the errno of the failed call.
[[noreturn]] void err_open(const char *module, const char *file);
/// "MODULE: errno=N", an internal error.
[[noreturn]] void err_internal(const char *module, int number);
