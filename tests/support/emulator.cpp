// The screen of a terminal, made from the bytes that a program writes.
//
// libvterm does the drawing. What this version of it does not know is done in front of it: faint text, output
// passed on to a printer, sizes asked for by the program, and single-byte character sets.
#include <iconv.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cstdio>

#include "support/terminal.h"

namespace {

std::string convert(const std::string &from, const std::string &to, std::string text) {
    const iconv_t converter = iconv_open(to.c_str(), from.c_str());
    std::string result(text.size() * 4, '\0');
    char *in = text.data();
    char *out = result.data();
    std::size_t left = text.size();
    std::size_t room = result.size();
    EXPECT_EQ(iconv(converter, &in, &left, &out, &room), 0U) << from << " to " << to << ": " << text;
    iconv_close(converter);
    result.resize(result.size() - room);
    return result;
}

// Faint is drawn as struck out, which nothing uses here: 2 becomes 9, and 22, the end of both bold and faint,
// ends that as well.
std::string rendition_of(std::string_view parameters) {
    std::string text = ";" + std::string(parameters) + ";";
    for (const auto &[from, to] : {std::pair{";2;", ";9;"}, {";22;", ";22;29;"}}) {
        const std::size_t at = text.find(from);
        // The parameters of a colour are no renditions.
        if (at != std::string::npos && text.find(";38;") > at && text.find(";48;") > at) {
            text.replace(at, std::string_view(from).size(), to);
        }
    }
    return "\033[" + text.substr(1, text.size() - 2) + "m";
}

}  // namespace

const VTermScreenCallbacks Terminal::callbacks = [] {
    VTermScreenCallbacks all{};
    all.settermprop = [](VTermProp property, VTermValue *value, void *user) {
        if (property == VTERM_PROP_CURSORVISIBLE) {
            static_cast<Terminal *>(user)->cursor_visible_ = value->boolean != 0;
        }
        return 1;
    };
    all.bell = [](void *user) { return ++static_cast<Terminal *>(user)->bells_; };
    return all;
}();

void Terminal::type(std::string_view text) {
    const std::string typed(text);
    send(options_.encoding == "UTF-8" ? typed : convert("UTF-8", options_.encoding, typed));
}

void Terminal::flush() {
    const std::string bytes =
        options_.encoding == "UTF-8" ? pending_ : convert(options_.encoding, "UTF-8", pending_);
    vterm_input_write(vterm_, bytes.data(), bytes.size());
    pending_.clear();
}

void Terminal::show(std::string_view bytes) {
    std::for_each(bytes.begin(), bytes.end(), [this](char c) { put(c); });
    flush();
}

void Terminal::put(char c) {
    if (printing_) {
        printed_ += c;
        if (printed_.ends_with("\033[4i")) {
            printed_.resize(printed_.size() - 4);
            printing_ = false;
        }
    } else if (sequence_.empty() && c != '\033') {
        pending_ += c;
    } else {
        sequence_ += c;
        if (sequence_.size() == 2 && c != '[') {
            pending_ += sequence_;
            sequence_.clear();
        } else if (sequence_.size() > 2 && c >= 0x40 && c < 0x7F) {
            control_sequence();
            sequence_.clear();
        }
    }
}

void Terminal::control_sequence() {
    const std::string_view parameters = std::string_view(sequence_).substr(2, sequence_.size() - 3);
    const char last = sequence_.back();
    if (last == 'i') {
        printing_ = parameters == "5";
    } else if (last == 't') {
        int lines = 0;
        int columns = 0;
        if (options_.resizable && std::sscanf(sequence_.c_str(), "\033[8;%d;%d", &lines, &columns) == 2) {
            flush();
            set_size(lines, columns);
        }
    } else {
        pending_ += last == 'm' ? rendition_of(parameters) : sequence_;
    }
}

void Terminal::set_size(int lines, int columns) {
    options_.lines = lines;
    options_.columns = columns;
    vterm_set_size(vterm_, lines, columns);
    const winsize size{static_cast<unsigned short>(lines), static_cast<unsigned short>(columns), 0, 0};
    ioctl(line_, TIOCSWINSZ, &size);
}

std::string Terminal::text(int row, int col, int end_col) const {
    if (row < 1 || row > lines() || col < 1 || end_col > columns()) {
        return "";  // not yet, while the size changes
    }
    std::string text(static_cast<std::size_t>(end_col - col + 1) * 4, '\0');
    text.resize(vterm_screen_get_text(screen_, text.data(), text.size(), {row - 1, row, col - 1, end_col}));
    return text;
}

std::string Terminal::row(int row) const {
    std::string line = text(row, 1, columns());
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::string Terminal::screen() const {
    std::string all;
    for (int row = 1; row <= lines(); row++) {
        all += this->row(row) + "\n";
    }
    return all;
}

std::string Terminal::attr(int row, int col) const {
    VTermScreenCell found{};
    vterm_screen_get_cell(screen_, {row - 1, col - 1}, &found);
    std::string all;
    for (const auto &[has, name] : {std::pair{found.attrs.bold != 0, "bold "},
                                    {found.attrs.strike != 0, "dim "},
                                    {found.attrs.underline != 0, "underline "},
                                    {found.attrs.reverse != 0, "reverse "},
                                    {found.attrs.blink != 0, "blink "}}) {
        all += has ? name : "";
    }
    return all + "fg " + std::to_string(VTERM_COLOR_IS_DEFAULT_FG(&found.fg) ? -1 : found.fg.indexed.idx);
}

std::string Terminal::cursor() const {
    VTermPos position;
    vterm_state_get_cursorpos(vterm_obtain_state(vterm_), &position);
    return std::to_string(position.row + 1) + "," + std::to_string(position.col + 1) +
           (cursor_visible_ ? "" : " hidden");
}
