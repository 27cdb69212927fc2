// A small shop in a directory of its own, in which programs are started in a terminal.
#pragma once

#include "support/scratch_dir.h"
#include "support/terminal.h"
#include "tools/shop/shop.h"

class RunCase : public ScratchDir {
protected:
    RunCase() {
        path = testing::TempDir();  // programs may not run from memory
        options.series = 6;
        options.customers = 4;
    }
    void SetUp() override {
        ScratchDir::SetUp();
        directory = path;
    }
    /// Writes the shop, after `change` has worked on it.
    void make(const std::function<void(Shop &)> &change = [](Shop &) {}) {
        Shop shop;
        std::string why;
        ASSERT_TRUE(build_shop(options, shop, why)) << why;
        change(shop);
        ASSERT_TRUE(write_shop(shop, directory, shop_target::any, why)) << why;
    }
    static Terminal start(const TerminalOptions &options = {}) {
        return Terminal(options);
    }
    /// Waits for the menu.
    static void reach_menu(Terminal &t) {
        EXPECT_TRUE(t.play("=> <ENTER> voor vervolg\n <ENTER> => Uw keuze"));
    }
    ShopOptions options;
    std::filesystem::path directory;
};
