// Copies of a shop, and reports as text files.
#include <sys/stat.h>

#include "command/shop_copy.h"
#include "command/text_report.h"
#include "report/report.h"
#include "support/scratch_dir.h"

namespace {

namespace fs = std::filesystem;
using names = std::vector<std::string>;

struct stat status_of(const std::string &file) {
    struct stat status {};
    EXPECT_EQ(stat(file.c_str(), &status), 0) << file;
    return status;
}

class Copies : public ScratchDir {
protected:
    const std::string large = std::string(700000, 'x') + "end";

    void SetUp() override {
        ScratchDir::SetUp();
        fs::create_directories("shop/2013Z");
        fs::create_directories("shop/2013Y");
        put("shop/RVSYS.TXT", large);
        put("shop/EMPTY.TXT");
        put("shop/2013Z/ORD1000.JRN", "order");
        put("elsewhere", "linked");
        fs::create_symlink("../elsewhere", "shop/LINK.TXT");
        fs::create_symlink("nowhere", "shop/dangling");
        mkfifo("shop/pipe", 0600);
        chmod("shop/2013Z/ORD1000.JRN", 0440);
        const timespec old[] = {{1000000000, 5}, {1000000001, 7}};
        for (const char *file : {"shop/RVSYS.TXT", "shop/2013Z/ORD1000.JRN", "shop/2013Z", "shop"}) {
            utimensat(AT_FDCWD, file, old, 0);
        }
    }
    /// The content is that of the shop, with its times; nobody has noticed the reading.
    void expect_same(const std::string &copy) const {
        EXPECT_EQ(get(copy + "/RVSYS.TXT"), large);
        EXPECT_EQ(get(copy + "/LINK.TXT"), "linked");
        EXPECT_FALSE(fs::is_symlink(copy + "/LINK.TXT"));
        EXPECT_TRUE(fs::exists(copy + "/EMPTY.TXT"));
        EXPECT_FALSE(fs::exists(copy + "/2013Y"));
        for (const char *name : {"/RVSYS.TXT", "/2013Z/ORD1000.JRN", "/2013Z"}) {
            EXPECT_EQ(status_of(copy + name).st_mtim.tv_nsec, 7) << name;
            EXPECT_EQ(status_of(std::string("shop") + name).st_atim.tv_sec, 1000000000) << name;
        }
    }
};

TEST_F(Copies, OfAShopHoldItsFilesWithTimesAndModes) {
    const copy_result done = shop_copy("shop", "backup");
    ASSERT_TRUE(done.ok) << done.why;
    expect_same("backup");
    EXPECT_EQ(status_of("backup").st_mtim.tv_nsec, 7);
    EXPECT_EQ(status_of("backup/2013Z/ORD1000.JRN").st_mode & 0777U, 0440U);
    EXPECT_EQ(done.left_out, (names{"dangling", "pipe"}));
    EXPECT_EQ(done.changed, names{});

    // What is there already is not touched, and a copy that fails leaves nothing.
    EXPECT_FALSE(shop_copy("shop", "backup").ok);
    expect_same("backup");
    EXPECT_FALSE(shop_copy("none", "second").ok);
    EXPECT_FALSE(fs::exists("second"));
}

TEST_F(Copies, ForARehearsalArePrivateAndGo) {
    std::string made;
    const auto note = [&](const std::string &name) { made = name; };
    const copy_result done = shop_copy_private("shop", path, note);
    ASSERT_TRUE(done.ok) << done.why;
    ASSERT_EQ(made.find(path), 0U);
    expect_same(made);
    EXPECT_EQ(status_of(made).st_mode & 0777U, 0700U);
    EXPECT_EQ(status_of(made + "/2013Z/ORD1000.JRN").st_mode & 0777U, 0640U);
    shop_copy_remove(made);
    EXPECT_FALSE(fs::exists(made));
    EXPECT_TRUE(fs::exists("elsewhere"));
    EXPECT_NE(shop_copy_private("shop", "/none", note).why.find("/none"), std::string::npos);
}

void print_report(const char *text) {
    ASSERT_TRUE(XPRT_OPEN({}, prt_any_page, nullptr));
    prt_newpage();
    prt_printf("%s\n", text);
    prt_newpage();
    prt_printf("two\n");
    prt_close("");
}

TEST_F(Copies, OfReportsAreTextInUtf8) {
    fs::create_directories("reports");
    put("reports/labels.txt", "old");
    put("reports/labels-2.txt", "old");
    text_report_install("reports");
    text_report_name("labels");
    print_report(
        "\x1b\x0f"
        "Caf\x82");
    EXPECT_EQ(get("reports/labels.txt"), "Caf\u00e9\n\ftwo\n");
    EXPECT_FALSE(fs::exists("reports/labels-2.txt"));
    print_report("again");
    EXPECT_EQ(get("reports/labels-2.txt"), "again\n\ftwo\n");
    text_report_install("");
    print_report("away");
    EXPECT_EQ(std::distance(fs::directory_iterator("reports"), {}), 2);
    EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), 3) << "a job file is left";
}

}  // namespace
