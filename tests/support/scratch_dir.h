// A directory of its own for each test; the test runs inside it. It lies in memory where that can be.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

struct ScratchDir : testing::Test {
    std::filesystem::path started_in = std::filesystem::current_path();
    std::string path = access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : testing::TempDir();

    void SetUp() override {
        path += "rvXXXXXX";
        ASSERT_NE(mkdtemp(path.data()), nullptr);
        ASSERT_EQ(chdir(path.c_str()), 0);
    }
    void TearDown() override {
        std::filesystem::current_path(started_in);
        std::filesystem::remove_all(path);
    }
    static void put(const std::string &name, const std::string &content = "") {
        std::ofstream(name, std::ios::binary) << content;
    }
    static std::string get(const std::string &name) {
        std::ifstream in(name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    /// True as soon as the condition holds; for what other programs do in the background.
    static bool eventually(const std::function<bool()> &condition) {
        for (int left = 6000; left > 0 && !condition(); left--) {
            usleep(5000);
        }
        return condition();
    }
};
