// The screen of a terminal, made from the bytes that a program writes.
//
// libvterm does the drawing. What this version of it does not know is done in front of it: faint text, output
// passed on to a printer, sizes asked for by the program, and single-byte character sets.
#pragma once

#include <vterm.h>

#include <array>
#include <functional>
#include <string>
#include <string_view>

#include "support/terminal.h"

class Emulator {
public:
    Emulator(int lines, int columns, const std::string &encoding, bool resizable);
    ~Emulator();
    Emulator(const Emulator &) = delete;
    Emulator &operator=(const Emulator &) = delete;

    /// Called with what the terminal answers to a query, and with a size that the program asked for.
    std::function<void(std::string_view)> on_answer;
    std::function<void(int lines, int columns)> on_resize;

    void write(std::string_view bytes);
    void resize(int lines, int columns);
    /// UTF-8 text in the character set of the line; characters outside it become a question mark.
    std::string encode(std::string_view text) const;

    std::string cell(int row, int col) const;
    std::string row(int row) const;
    TerminalAttributes attr(int row, int col) const;
    TerminalCursor cursor() const;
    int lines() const;
    int columns() const;
    const std::string &printed() const {
        return printed_;
    }
    int bells() const {
        return bells_;
    }

private:
    enum class Scan { text, escape, control, printer };

    void put(unsigned char byte);
    void control_sequence();
    void select_graphic_rendition();
    void flush();
    void take_size(int lines, int columns);
    bool fetch(int row, int col, VTermScreenCell *cell) const;
    int color_of(const VTermColor &color, bool foreground) const;

    static const VTermScreenCallbacks callbacks;

    VTerm *vterm_;
    VTermScreen *screen_;
    bool resizable_;
    bool single_byte_ = false;
    std::array<std::string, 128> upper_half_;  // UTF-8 of the bytes from 128, for a single-byte set

    Scan scan_ = Scan::text;
    std::string sequence_;  // parameters and final byte of the control sequence being read
    std::string pending_;   // for libvterm, not yet handed over
    std::string printed_;
    int bells_ = 0;
    bool cursor_visible_ = true;
};
