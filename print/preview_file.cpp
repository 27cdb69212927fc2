#include "print/preview_file.h"

#include <algorithm>
#include <array>

namespace {

constexpr int form_feed = '\f';

bool ends_line(int c) {
    return c == '\n' || c == '\r' || c == form_feed || c == EOF;
}

}  // namespace

bool preview_file::open(const char *path, long start_offset, int line_width) {
    file = std::fopen(path, "r+e");
    start = start_offset;
    width = line_width;
    return file != nullptr;
}

void preview_file::close() {
    std::fclose(file);
    file = nullptr;
}

long preview_file::position() const {
    return std::ftell(file);
}

void preview_file::seek(long offset) {
    std::fseek(file, offset, SEEK_SET);
}

void preview_file::read_line(std::string &line) {
    line.clear();
    int c = getc_unlocked(file);
    while (!ends_line(c)) {
        if (static_cast<int>(line.size()) < width) {
            line += static_cast<char>(c);
        }
        c = getc_unlocked(file);
    }
    if (c == '\r') {
        // A line feed after it belongs to the same line end.
        const int next = getc_unlocked(file);
        if (next == '\n') {
            c = next;
        } else if (next != EOF) {
            std::ungetc(next, file);
        }
    }
    last_char = c;
}

bool preview_file::skip_page() {
    int c = last_char == form_feed ? form_feed : getc_unlocked(file);
    while (c != form_feed && c != EOF) {
        c = getc_unlocked(file);
    }
    last_char = c;
    return c == form_feed;
}

long preview_file::page_before(long page) {
    std::array<char, 1024> piece{};
    long end = page - 1;  // the form feed that ends the page before
    while (end > start) {
        const long from = std::max(end - static_cast<long>(piece.size()), start);
        seek(from);
        const auto length = static_cast<std::size_t>(end - from);
        if (std::fread(piece.data(), 1, length, file) != length) {
            return start;
        }
        for (std::size_t i = length; i > 0; i--) {
            if (piece[i - 1] == form_feed) {
                return from + static_cast<long>(i);
            }
        }
        end = from;
    }
    return start;
}
