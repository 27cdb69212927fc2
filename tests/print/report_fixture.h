// Reports for tests: a job of any destination, in a directory of its own, with what became of it.
#pragma once

#include "print/print_internal.h"
#include "support/scratch_dir.h"
#include "support/terminal.h"

struct Report : ScratchDir {
    /// What the next job is to be.
    static inline print_job wanted;

    void SetUp() override {
        ScratchDir::SetUp();
        wanted = {};
        wanted.rpt_width = 132;
        wanted.rpt_lines = 64;
        for (const char *name : {"MAXFMT", "SYSBUF", "MAXSYSBUF", "ZUVPRT"}) {
            unsetenv(name);
        }
        prt_install();
        prt_modules.preview = nullptr;
        prt_modules.job_open = [](const print_setup &, std::uint16_t, const char *) {
            prt_job = wanted;
            return prt_job_start();
        };
    }
    void TearDown() override {
        prt_modules = {};
        ScratchDir::TearDown();
    }

    static bool open() {
        return XPRT_OPEN({}, prt_fits_132, nullptr);
    }
    /// A job for its text only: its destination is a terminal that nobody looks at, and it is dropped.
    static void open_text(int width = 132) {
        wanted.aux = wanted.preview = true;
        wanted.rpt_width = width;
        prt_modules.preview = [] { return false; };
        ASSERT_TRUE(open());
    }
    static std::string close_text() {
        const std::string text = get(prt_job.job_file);
        prt_close("");
        return text;
    }

    static int count(const std::string &text, const std::string &part) {
        int found = 0;
        for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
            found++;
        }
        return found;
    }
    static bool all_gone() {
        return eventually([] { return job_files() == 0; });
    }
    static int job_files() {
        std::string pattern = "PR*";
        return FILES_PRESENT(pattern);
    }
};
