// Bars on standard error, a line for each shop that runs.
#pragma once

#include <cstdint>
#include <map>
#include <string>

class progress_bars {
public:
    explicit progress_bars(bool wanted) : wanted_(wanted) {}
    [[nodiscard]] bool wanted() const {
        return wanted_;
    }
    /// Where a shop is; shops are told apart by number.
    void step(std::size_t shop, const std::string &name, const std::string &what, std::uint64_t done,
              std::uint64_t total);
    void drop(std::size_t shop);
    /// Takes the bars away, so that something else can be written. They come back with the next step.
    void clear();

private:
    void draw();

    bool wanted_;
    int drawn_ = 0;  ///< lines on the screen
    std::map<std::size_t, std::string> lines_;
};
