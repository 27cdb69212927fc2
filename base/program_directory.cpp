#include "base/program_directory.h"

#include <filesystem>
#include <system_error>

std::string program_directory() {
    std::error_code unknown;
    return std::filesystem::read_symlink("/proc/self/exe", unknown).parent_path().string();
}
