#include "command/progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "command/options.h"

namespace {

constexpr int bar_width = 20;

std::size_t screen_width() {
    winsize size{};
    constexpr std::size_t usual = 80;
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

}  // namespace

void progress_bars::step(std::size_t shop, const std::string &name, const std::string &what,
                         std::uint64_t done, std::uint64_t total) {
    if (!wanted_) {
        return;
    }
    const std::uint64_t whole = std::max<std::uint64_t>(total, 1);
    const auto filled = std::min<std::uint64_t>(done, whole) * bar_width / whole;
    lines_[shop] = fmt::format("[{:<{}}] {:>3}% {}: {}", std::string(filled, '#'), bar_width,
                               std::min<std::uint64_t>(done, whole) * 100 / whole, name, what);
    draw();
}

void progress_bars::drop(std::size_t shop) {
    clear();
    lines_.erase(shop);
}

void progress_bars::clear() {
    if (drawn_ > 0) {
        write_out(stderr, fmt::format("\r\033[{}A\033[J", drawn_));
        drawn_ = 0;
    }
}

void progress_bars::draw() {
    clear();
    const std::size_t width = screen_width() - 1;
    for (const auto &[shop, line] : lines_) {
        write_out(stderr, fmt::format("{:.{}}\n", line, width));
        drawn_++;
    }
}
