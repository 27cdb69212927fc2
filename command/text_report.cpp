#include "command/text_report.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "base/codepage.h"
#include "base/owned_file.h"
#include "report/report_internal.h"

namespace {

constexpr int page_width = 132;
constexpr int page_lines = 64;  // of the page that the screen shows

std::string directory;
std::string check = "report";
int reports = 0;

std::string path_of(int number) {
    return directory + "/" + check + (number > 1 ? "-" + std::to_string(number) : "") + ".txt";
}

bool open_job(const print_setup &, std::uint16_t options, const char *) {
    if ((options & prt_fits_132) == 0) {
        return false;
    }
    prt_job = {};
    prt_job.rpt_width = page_width;
    prt_job.rpt_lines = page_lines;
    return prt_job_start();
}

/// What was printed: without codes for a printer, and without the feed that ends the last page.
std::string printed_text(std::string text) {
    std::erase_if(text, [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte == 127 || (byte < 32 && c != '\n' && c != '\f' && c != '\t');
    });
    if (!text.empty() && text.back() == '\f') {
        text.pop_back();
    }
    return codepage_to_utf8(text);
}

/// The whole of a file; false with errno.
bool read_whole(const std::string &path, std::string &text) {
    const open_stream file(std::fopen(path.c_str(), "re"));
    if (file == nullptr) {
        return false;
    }
    char block[8192];
    for (std::size_t n = 0; (n = std::fread(block, 1, sizeof block, file.get())) > 0;) {
        text.append(block, n);
    }
    return std::ferror(file.get()) == 0;
}

bool write_whole(const std::string &path, const std::string &text) {
    open_stream file(std::fopen(path.c_str(), "we"));
    return file != nullptr && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() &&
           close_stream(file);
}

void keep_report(const char *) {
    const leave_guard complete;
    std::string text;
    std::string path = prt_job.job_file;
    bool kept = true;
    if (!directory.empty()) {
        kept = read_whole(path, text);
        if (kept) {
            path = path_of(++reports);
            kept = write_whole(path, printed_text(text));
        }
    }
    const int why = errno;
    file_delete(prt_job.job_file.c_str());
    if (!kept) {
        file_delete(path.c_str());
        isam_fatal("%s: %s (file=%s, errno=%d)%s", "REPORT", term_text(1, 602, "Schrijven niet gelukt"),
                   path.c_str(), why, disk_full_text(why));
    }
}

/// The job file lies with the data, so this is a directory that can't be written.
void cannot_open(const std::string &path) {
    const int why = errno;
    isam_fatal("%s: %s (file=%s, errno=%d)%s", "REPORT", term_text(1, 602, "Schrijven niet gelukt"),
               path.c_str(), why, disk_full_text(why));
}

}  // namespace

void text_report_install(const std::string &dir) {
    directory = dir.empty() ? dir : std::filesystem::absolute(dir).string();
    if (!directory.empty()) {
        // A directory that can't be made shows with its first report.
        std::error_code ignored;
        std::filesystem::create_directories(directory, ignored);
    }
    prt_modules = {.job_open = open_job,
                   .preview = nullptr,
                   .hand_off = keep_report,
                   .cannot_open = cannot_open,
                   .interrupted = nullptr,
                   .begun = nullptr,
                   .closing = nullptr,
                   .closed = nullptr};
}

void text_report_name(const std::string &name) {
    check = name;
    reports = 0;
    for (int number = 1; !directory.empty() && file_exists(path_of(number).c_str()); number++) {
        file_delete(path_of(number).c_str());
    }
}
