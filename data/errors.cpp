#include "data/errors.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include "base/base.h"

namespace {

/// "sub/iotab.cpp" becomes "IOTAB".
std::string module_name(const std::string &module) {
    std::string name = module.substr(module.rfind('/') + 1);
    name.erase(std::min(name.find('.'), name.size()));
    str_upper(name.data());
    return name;
}

}  // namespace

void err_nomem(const char *module, int number) {
    isam_fatal("%s: %s (nr=%d)", module_name(module).c_str(), detail_text(6, 95, "Onvoldoende geheugen"),
               number);
}

void err_open(const char *module, const char *file) {
    const int code = errno;
    isam_fatal("%s: %s (file=%s, errno=%d)", module_name(module).c_str(),
               detail_text(6, 122, "Open niet gelukt"), file, code);
}

void err_internal(const char *module, int number) {
    isam_fatal("%s: errno=%d", module_name(module).c_str(), number);
}
