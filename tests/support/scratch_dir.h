// A directory of its own for each test; the test runs inside it. It lies in memory where that can be.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

struct ScratchDir : testing::Test {
    std::filesystem::path started_in = std::filesystem::current_path();
    std::string path;

    void SetUp() override {
        path = (access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : testing::TempDir()) + "rvXXXXXX";
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
};
