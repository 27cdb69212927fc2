// The job file as the preview reads it: lines, and pages that end in a form feed.
#pragma once

#include <cstdio>
#include <string>

struct preview_file {
    std::FILE *file = nullptr;
    long start = 0;       ///< where the first page begins, after the set-up text
    int width = 0;        ///< longest line that is read
    int last_char = EOF;  ///< the character after the last line read

    /// False when the file can't be opened.
    bool open(const char *path, long start_offset, int line_width);
    void close();
    long position() const;
    void seek(long offset);
    /// Reads a line of at most `width` characters; the rest of it is skipped.
    void read_line(std::string &line);
    bool at_end() const {
        return last_char == EOF;
    }
    /// Moves past the next form feed; false at the end of the file, when there is none.
    bool skip_page();
    /// Start of the page before the one that starts at `page`; `start` when that is the first.
    long page_before(long page);
};
