#include "command/output.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

run_output::run_output(const run_options &options)
    : bars(!options.quiet && isatty(STDERR_FILENO) != 0),
      options_(options),
      people_(options.json == "-" ? stderr : stdout) {
    if (options.json.empty()) {
        return;
    }
    file_ = options.json == "-" ? stdout : std::fopen(options.json.c_str(), "we");
    if (file_ == nullptr) {
        write_out(stderr, fmt::format("rvcheck: {}: {}\n", options.json, std::strerror(errno)));
        std::exit(status_wrong_use);
    }
}

run_output::~run_output() {
    if (file_ != nullptr && file_ != stdout) {
        std::fclose(file_);
    }
}

void run_output::object(const std::string &line) {
    if (file_ == nullptr || !complete_) {
        return;
    }
    if (std::fwrite(line.data(), 1, line.size(), file_) != line.size() || std::fflush(file_) != 0) {
        const int why = errno;
        bars.clear();
        write_out(stderr, fmt::format("rvcheck: {}: {}\n", options_.json, std::strerror(why)));
        complete_ = false;
    }
}

void run_output::finding(const json &found) {
    if (options_.quiet) {
        return;
    }
    std::string fields;
    for (const auto &[name, value] : found["fields"].items()) {
        fields += fmt::format(" {}={}", name, value.is_string() ? value.get<std::string>() : value.dump());
    }
    bars.clear();
    write_out(people_,
              fmt::format("{}: {} {}{}: {}\n", name_in_line(found["shop"]), found["code"].get<std::string>(),
                          found["file"].get<std::string>(), fields, found["text"].get<std::string>()));
}

void run_output::notice(const std::string &shop, const std::string &text) {
    bars.clear();
    write_out(stderr, fmt::format("{}: {}\n", name_in_line(shop), text));
}

void run_output::table(const std::string &text) {
    bars.clear();
    write_out(people_, text);
}
