// A small shop in a directory of its own, in which programs are started in a terminal.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "support/terminal.h"
#include "tools/shop/shop.h"

class RunCase : public testing::Test {
protected:
    void SetUp() override {
        const auto *info = testing::UnitTest::GetInstance()->current_test_info();
        directory = std::filesystem::path(testing::TempDir()) /
                    (std::string(info->test_suite_name()) + "-" + info->name() + std::to_string(getpid()));
        std::filesystem::remove_all(directory);
        options.series = 6;
        options.customers = 4;
    }
    void TearDown() override {
        std::filesystem::remove_all(directory);
    }
    /// Writes the shop, after `change` has worked on it.
    void make(const std::function<void(Shop &)> &change = [](Shop &) {}) {
        Shop shop;
        std::string why;
        ASSERT_TRUE(build_shop(options, shop, why)) << why;
        change(shop);
        ASSERT_TRUE(write_shop(shop, directory, shop_target::any, why)) << why;
    }
    [[nodiscard]] bool there(const std::string &name) const {
        return std::filesystem::exists(directory / name);
    }
    [[nodiscard]] std::string bytes(const std::string &name) const {
        std::ifstream file(directory / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    [[nodiscard]] Terminal start(TerminalOptions terminal = {}) const {
        terminal.directory = directory;
        return Terminal(terminal);
    }
    /// Waits for the menu.
    static void reach_menu(Terminal &t) {
        EXPECT_TRUE(t.wait_for("<ENTER> voor vervolg"));
        t.key("ENTER");
        EXPECT_TRUE(t.wait_for("Uw keuze"));
    }
    ShopOptions options;
    std::filesystem::path directory;
};
