// The job file: opening it, its lines and pages, and the end of a report.
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "report/report_internal.h"

print_job prt_job;

print_modules prt_modules{};

namespace {

constexpr int line_before_first_page = 10000;
constexpr char form_feed = '\f';

std::FILE *job = nullptr;

/// A report without all its findings would look complete, so the program stops. The part that was written is
/// deleted: it may be what has filled the disk.
[[noreturn]] void cannot_write() {
    const int why = errno;
    if (job != nullptr) {
        std::fclose(job);
        job = nullptr;
    }
    file_delete(prt_job.job_file.c_str());
    isam_fatal("%s: %s (file=%s, errno=%d)%s", "REPORT", term_text(1, 602, "Schrijven niet gelukt"),
               prt_job.job_file.c_str(), why, disk_full_text(why));
}

/// Puts what was written into the job file; fatal when that fails.
void flush_job() {
    if (std::fflush(job) != 0 || std::ferror(job) != 0) {
        cannot_write();
    }
}

void write_bytes(std::string_view bytes) {
    if (job != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), job) != bytes.size()) {
        cannot_write();
    }
}

void begin_page(bool feed) {
    if (job == nullptr) {
        return;
    }
    if (feed) {
        write_bytes({&form_feed, 1});
    }
    flush_job();
    prt_job.rpt_page++;
    prt_job.rpt_pages++;
    prt_job.rpt_line = 1;
}

void close_job() {
    if (std::fclose(std::exchange(job, nullptr)) != 0) {
        cannot_write();
    }
}

void write_broken_off() {
    const std::string text = str_format("** %s **", term_text(1, 58, "Printen onderbroken"));
    const std::string stars(text.size(), '*');
    job_write_line("");
    job_write_line("");
    job_write_line(stars);
    job_write_line(text);
    job_write_line(stars);
}

std::string blanks(long count) {
    return std::string(count > 0 ? static_cast<std::size_t>(count) : 0, ' ');
}

void call(void (*step)()) {
    if (step != nullptr) {
        step();
    }
}

}  // namespace

bool prt_job_start() {
    prt_job.job_file = file_tempname("", "PR");
    prt_job.rpt_page = 0;
    prt_job.rpt_line = line_before_first_page;
    job = prt_job.job_file.empty() ? nullptr : std::fopen(prt_job.job_file.c_str(), "ae");
    if (job == nullptr) {
        if (prt_modules.cannot_open != nullptr) {
            prt_modules.cannot_open(prt_job.job_file);
        }
        return false;
    }
    write_bytes(prt_job.setup_text);
    flush_job();
    prt_job.start_offset = std::ftell(job);
    if (prt_modules.begun != nullptr) {
        prt_modules.begun(!prt_job.aux || prt_job.preview);
    }
    return true;
}

void job_write_line(std::string_view text) {
    if (job == nullptr) {
        return;
    }
    write_bytes(text);
    write_bytes("\n");
    flush_job();
    prt_job.rpt_line++;
}

void prt_newpage() {
    if (report_line_started()) {
        prt_newline();
    }
    begin_page(prt_job.rpt_page > 0);
}

void prt_head(const char *left, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    const std::string title = str_vformat(format, args);
    va_end(args);
    prt_newpage();
    const std::string head = left;
    const std::string right = str_format(" %s %5.5s ", date_show_long(date_today()), time_show(time_now())) +
                              str_format("%s:%4d", term_text(1, 29, "blad"), prt_job.rpt_page);
    const auto title_length = static_cast<long>(title.size());
    const auto right_length = static_cast<long>(right.size());
    const long room = prt_job.rpt_width - static_cast<long>(head.size()) - right_length;
    if (title_length + 2 <= room) {
        const std::string margin = blanks((room - title_length) / 2);
        job_write_line(head + margin + title + margin + right);
    } else {
        job_write_line(head + blanks(room) + right);
        write_bytes(blanks((prt_job.rpt_width - title_length) / 2));
        job_write_line(title);
    }
    job_write_line("");
}

void prt_close(const char *lp_options) {
    call(prt_modules.closing);
    if (report_line_started()) {
        prt_newline();
    }
    report_stop();
    if (job == nullptr) {
        call(prt_modules.closed);
        return;
    }
    if (std::ftell(job) == prt_job.start_offset) {
        close_job();
        file_delete(prt_job.job_file.c_str());
        call(prt_modules.closed);
        return;
    }
    if (prt_modules.interrupted != nullptr && prt_modules.interrupted()) {
        write_broken_off();
    }
    if (prt_job.rpt_line > 1) {
        begin_page(true);
    }
    write_bytes(prt_job.end_text);
    close_job();
    const bool dropped = prt_job.preview && prt_modules.preview != nullptr && !prt_modules.preview();
    if (dropped) {
        file_delete(prt_job.job_file.c_str());
    }
    call(prt_modules.closed);
    if (!dropped && prt_modules.hand_off != nullptr) {
        prt_modules.hand_off(lp_options);
    }
}
