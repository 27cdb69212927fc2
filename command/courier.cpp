#include "command/courier.h"

#include <unistd.h>

#include "base/interrupted_call.h"

namespace {

int pipe_out = -1;
int pipe_in = -1;

}  // namespace

std::string line_of(const json &object) {
    return object.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
}

void courier_open(int out, int in) {
    pipe_out = out;
    pipe_in = in;
}

void courier_send(const json &object) {
    const std::string line = line_of(object);
    std::size_t done = 0;
    while (done < line.size()) {
        const ssize_t n =
            again_if_interrupted([&] { return write(pipe_out, line.data() + done, line.size() - done); });
        if (n <= 0) {
            return;
        }
        done += static_cast<std::size_t>(n);
    }
}

char courier_ask(const json &question) {
    courier_send(question);
    char answer = 'X';
    return again_if_interrupted([&] { return read(pipe_in, &answer, 1); }) == 1 ? answer : 'X';
}
