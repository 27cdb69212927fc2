#include "support/emulator.h"

#include <iconv.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <vector>

namespace {

void append_utf8(std::string &out, std::uint32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | c >> 6);
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | c >> 12);
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | c >> 18);
        out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    while (true) {
        const std::size_t end = text.find(separator);
        parts.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

int number_of(const std::string &text) {
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

int moved_cursor(VTermPos, VTermPos, int, void *) {
    return 1;
}

}  // namespace

const VTermScreenCallbacks Emulator::callbacks = {
    .damage = nullptr,
    .moverect = nullptr,
    .movecursor = moved_cursor,
    .settermprop =
        [](VTermProp property, VTermValue *value, void *user) {
            if (property == VTERM_PROP_CURSORVISIBLE) {
                static_cast<Emulator *>(user)->cursor_visible_ = value->boolean != 0;
            }
            return 1;
        },
    .bell =
        [](void *user) {
            ++static_cast<Emulator *>(user)->bells_;
            return 1;
        },
    .resize = nullptr,
    .sb_pushline = nullptr,
    .sb_popline = nullptr,
};

Emulator::Emulator(int lines, int columns, const std::string &encoding, bool resizable)
    : vterm_(vterm_new(lines, columns)), screen_(vterm_obtain_screen(vterm_)), resizable_(resizable) {
    vterm_set_utf8(vterm_, 1);
    vterm_screen_set_callbacks(screen_, &callbacks, this);
    vterm_screen_enable_altscreen(screen_, 1);
    vterm_output_set_callback(
        vterm_,
        [](const char *bytes, std::size_t length, void *user) {
            const auto &answer = static_cast<Emulator *>(user)->on_answer;
            if (answer) {
                answer({bytes, length});
            }
        },
        this);
    vterm_screen_reset(screen_, 1);

    if (encoding != "UTF-8") {
        single_byte_ = true;
        const iconv_t converter = iconv_open("UTF-8", encoding.c_str());
        if (converter == reinterpret_cast<iconv_t>(-1)) {
            ADD_FAILURE() << "unknown character set " << encoding;
            return;
        }
        for (int byte = 128; byte < 256; ++byte) {
            char in = static_cast<char>(byte);
            char out[8];
            char *from = &in, *to = out;
            std::size_t left = 1, room = sizeof out;
            const bool known = iconv(converter, &from, &left, &to, &room) == 0;
            upper_half_[static_cast<std::size_t>(byte - 128)] =
                known ? std::string(out, to) : std::string("\xEF\xBF\xBD");
        }
        iconv_close(converter);
    }
}

Emulator::~Emulator() {
    vterm_free(vterm_);
}

void Emulator::flush() {
    vterm_input_write(vterm_, pending_.data(), pending_.size());
    pending_.clear();
}

void Emulator::write(std::string_view bytes) {
    for (const char byte : bytes) {
        put(static_cast<unsigned char>(byte));
    }
    flush();
}

void Emulator::put(unsigned char byte) {
    const char c = static_cast<char>(byte);
    switch (scan_) {
        case Scan::text:
            if (byte == 27) {
                scan_ = Scan::escape;
            } else if (single_byte_ && byte >= 128) {
                pending_ += upper_half_[byte - 128u];
            } else {
                pending_ += c;
            }
            break;
        case Scan::escape:
            if (c == '[') {
                sequence_.clear();
                scan_ = Scan::control;
            } else {
                pending_ += '\033';
                pending_ += c;
                scan_ = Scan::text;
            }
            break;
        case Scan::control:
            sequence_ += c;
            if (byte >= 0x40 && byte < 0x7F) {
                scan_ = Scan::text;
                control_sequence();
            }
            break;
        case Scan::printer:
            printed_ += c;
            if (printed_.ends_with("\033[4i")) {
                printed_.resize(printed_.size() - 4);
                scan_ = Scan::text;
            }
            break;
    }
}

void Emulator::control_sequence() {
    if (sequence_ == "5i") {
        scan_ = Scan::printer;
        return;
    }
    if (sequence_ == "4i") {
        return;
    }
    if (resizable_ && (sequence_ == "?3h" || sequence_ == "?3l")) {
        take_size(lines(), sequence_ == "?3h" ? 132 : 80);
        pending_ += "\033[H\033[2J";
        return;
    }
    const char final_byte = sequence_.back();
    if (final_byte == 't' && sequence_.starts_with("8;")) {
        const std::vector<std::string> sizes =
            split(std::string_view(sequence_).substr(0, sequence_.size() - 1), ';');
        if (resizable_ && sizes.size() == 3) {
            take_size(sizes[1].empty() ? lines() : number_of(sizes[1]),
                      sizes[2].empty() ? columns() : number_of(sizes[2]));
        }
        return;
    }
    if (final_byte == 'm' && (sequence_[0] < '<' || sequence_[0] > '?')) {
        select_graphic_rendition();
        return;
    }
    pending_ += "\033[" + sequence_;
}

// Faint is drawn as struck out, which nothing else uses here: 2 becomes 9, and 22, the end of both bold and
// faint, ends that as well.
void Emulator::select_graphic_rendition() {
    sequence_.pop_back();
    const std::vector<std::string> from = split(sequence_, ';');
    std::string to;
    const auto add = [&to](const std::string &parameter) {
        if (!to.empty()) {
            to += ';';
        }
        to += parameter.empty() ? "0" : parameter;
    };
    for (std::size_t i = 0; i < from.size(); ++i) {
        if (from[i] == "38" || from[i] == "48") {  // a colour: its own parameters are no renditions
            std::size_t length = 1;
            if (i + 1 < from.size()) {
                length = from[i + 1] == "5" ? 3 : from[i + 1] == "2" ? 5 : 1;
            }
            for (; length > 0 && i < from.size(); --length, ++i) {
                add(from[i]);
            }
            --i;
        } else if (from[i] == "2") {
            add("9");
        } else if (from[i] == "22") {
            add("22;29");
        } else if (from[i] != "9" && from[i] != "29") {
            add(from[i]);
        }
    }
    if (!to.empty()) {
        pending_ += "\033[" + to + "m";
    }
}

void Emulator::take_size(int lines, int columns) {
    flush();
    resize(std::clamp(lines, 1, 200), std::clamp(columns, 1, 400));
    if (on_resize) {
        on_resize(this->lines(), this->columns());
    }
}

void Emulator::resize(int lines, int columns) {
    vterm_set_size(vterm_, lines, columns);
}

std::string Emulator::encode(std::string_view text) const {
    if (!single_byte_) {
        return std::string(text);
    }
    std::string out;
    while (!text.empty()) {
        const unsigned char lead = static_cast<unsigned char>(text[0]);
        const std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        const std::string_view character = text.substr(0, length);
        if (lead < 0x80) {
            out += text[0];
        } else {
            const auto place = std::find(upper_half_.begin(), upper_half_.end(), character);
            out += place == upper_half_.end() ? '?' : static_cast<char>(128 + (place - upper_half_.begin()));
        }
        text.remove_prefix(character.size());
    }
    return out;
}

bool Emulator::fetch(int row, int col, VTermScreenCell *cell) const {
    if (row < 1 || row > lines() || col < 1 || col > columns()) {
        return false;
    }
    return vterm_screen_get_cell(screen_, {row - 1, col - 1}, cell) != 0;
}

std::string Emulator::cell(int row, int col) const {
    VTermScreenCell found;
    std::string text;
    if (!fetch(row, col, &found)) {
        return text;
    }
    if (found.chars[0] == static_cast<std::uint32_t>(-1)) {  // right half of a wide character
        return text;
    }
    for (int i = 0; i < VTERM_MAX_CHARS_PER_CELL && found.chars[i] != 0; ++i) {
        append_utf8(text, found.chars[i]);
    }
    return text.empty() ? " " : text;
}

std::string Emulator::row(int row) const {
    std::string text;
    for (int col = 1; col <= columns(); ++col) {
        text += cell(row, col);
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

int Emulator::color_of(const VTermColor &color, bool foreground) const {
    if (foreground ? VTERM_COLOR_IS_DEFAULT_FG(&color) : VTERM_COLOR_IS_DEFAULT_BG(&color)) {
        return -1;
    }
    return VTERM_COLOR_IS_INDEXED(&color) ? color.indexed.idx : -2;
}

TerminalAttributes Emulator::attr(int row, int col) const {
    VTermScreenCell found;
    if (!fetch(row, col, &found)) {
        return {};
    }
    return {.bold = found.attrs.bold != 0,
            .dim = found.attrs.strike != 0,
            .underline = found.attrs.underline != 0,
            .reverse = found.attrs.reverse != 0,
            .blink = found.attrs.blink != 0,
            .fg = color_of(found.fg, true),
            .bg = color_of(found.bg, false)};
}

TerminalCursor Emulator::cursor() const {
    VTermPos position;
    vterm_state_get_cursorpos(vterm_obtain_state(vterm_), &position);
    return {position.row + 1, position.col + 1, cursor_visible_};
}

int Emulator::lines() const {
    int lines = 0, columns = 0;
    vterm_get_size(vterm_, &lines, &columns);
    return lines;
}

int Emulator::columns() const {
    int lines = 0, columns = 0;
    vterm_get_size(vterm_, &lines, &columns);
    return columns;
}
