// What the starting process writes: the file of JSON Lines, the lines for a person, and the bars.
#pragma once

#include <cstdio>
#include <string>

#include "command/courier.h"
#include "command/options.h"
#include "command/progress.h"

class run_output {
public:
    /// Opens the file of --json; `status_wrong_use` when that fails.
    explicit run_output(const run_options &options);
    ~run_output();
    run_output(const run_output &) = delete;
    run_output &operator=(const run_output &) = delete;

    /// Writes an object to the file, at once; `line` is the object as it came, with its line feed.
    void object(const std::string &line);
    /// The line of a finding, for a person.
    void finding(const json &found);
    void notice(const std::string &shop, const std::string &text);
    void table(const std::string &text);
    /// False once the file could not be written.
    [[nodiscard]] bool complete() const {
        return complete_;
    }

    progress_bars bars;

private:
    const run_options &options_;
    std::FILE *file_ = nullptr;
    std::FILE *people_;  ///< standard output, unless the objects go there
    bool complete_ = true;
};
