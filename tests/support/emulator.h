// The screen of a terminal, made from the bytes that a program writes.
//
// libvterm does the drawing. What this version of it does not know is done in front of it: faint text, output
// passed on to a printer, sizes asked for by the program, and single-byte character sets. Rows and columns
// count from 1, row before column.
#pragma once

#include <vterm.h>

#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

struct TerminalAttributes {
    bool bold = false, dim = false, underline = false, reverse = false, blink = false;
    /// Index of the colour in the palette, -1 for the terminal's default.
    int fg = -1, bg = -1;
    bool operator==(const TerminalAttributes &) const = default;
};
void PrintTo(const TerminalAttributes &attributes, std::ostream *out);

struct TerminalCursor {
    int row = 1, col = 1;
    bool visible = true;
    bool operator==(const TerminalCursor &) const = default;
};
void PrintTo(const TerminalCursor &cursor, std::ostream *out);

class Emulator {
public:
    /// `encoding` is the character set of the line, a name that iconv knows: UTF-8, or one of single bytes.
    Emulator(int lines, int columns, std::string encoding, bool resizable);
    ~Emulator();
    Emulator(const Emulator &) = delete;
    Emulator &operator=(const Emulator &) = delete;

    /// A row in UTF-8 without blanks at its end.
    std::string row(int row) const;
    /// All rows, each with a newline.
    std::string screen() const;
    /// Character of a cell in UTF-8; a blank for an empty one.
    std::string cell(int row, int col) const;
    TerminalAttributes attr(int row, int col) const;
    TerminalCursor cursor() const;
    int lines() const;
    int columns() const;
    int bells() const {
        return bells_;
    }
    /// Bytes sent to the printer behind the terminal: all between mc5 and mc4.
    const std::string &printed() const {
        return printed_;
    }

protected:
    void show(std::string_view bytes);
    void set_size(int lines, int columns);
    /// UTF-8 text in the character set of the line.
    std::string encode(const std::string &text) const;
    /// Called with a size that the program asked for.
    std::function<void(int lines, int columns)> on_resize;

private:
    void put(char c);
    void control_sequence();
    void take_size(int lines, int columns);
    void flush();
    std::string text(int row, int col, int end_col) const;

    static const VTermScreenCallbacks callbacks;

    VTerm *vterm_;
    VTermScreen *screen_;
    std::string encoding_;
    bool resizable_;
    bool printing_ = false;
    std::string sequence_;  // the escape sequence being read
    std::string pending_;   // for libvterm, not yet handed over
    std::string printed_;
    int bells_ = 0;
    bool cursor_visible_ = true;
};
