// Another process of the test, for what one process does to another's locks.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

/// What another process finds: true when `question` says so there.
template <class Question>
bool elsewhere(const Question &question) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        _exit(question() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Does `work` there before the constructor returns, and keeps what it locked until the end of its life.
class OtherProcess {
public:
    template <class Work>
    explicit OtherProcess(const Work &work) {
        int ready[2];
        int life[2];
        EXPECT_EQ(pipe(ready) | pipe(life), 0);
        std::fflush(nullptr);
        pid_ = fork();
        char byte = 0;
        if (pid_ == 0) {
            close(life[1]);
            work();
            _exit(write(ready[1], &byte, 1) == 1 && read(life[0], &byte, 1) == 0 ? 0 : 1);
        }
        close(ready[1]);
        close(life[0]);
        EXPECT_EQ(read(ready[0], &byte, 1), 1) << "the other process failed";
        close(ready[0]);
        life_ = life[1];
    }
    ~OtherProcess() {
        close(life_);
        waitpid(pid_, nullptr, 0);
    }
    OtherProcess(const OtherProcess &) = delete;
    OtherProcess &operator=(const OtherProcess &) = delete;
    [[nodiscard]] pid_t pid() const {
        return pid_;
    }

private:
    pid_t pid_ = -1;
    int life_ = -1;
};
