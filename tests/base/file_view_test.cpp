// Reads through a mapping must tell the same as reads through the system, while others change the file.
#include "base/file_view.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "base/files.h"
#include "base/owned_file.h"
#include "support/scratch_dir.h"

namespace {

TEST_F(ScratchDir, AViewShowsAFileAsOthersLeaveIt) {
    constexpr off_t block = 376;
    const std::string name = "blokken";
    put(name, std::string(40 * block, 'a'));
    const open_file file(open(name.c_str(), O_RDONLY | O_CLOEXEC));
    const open_file other(open(name.c_str(), O_RDWR | O_CLOEXEC));
    file_view view{};
    std::string got(block, ' ');
    const auto read = [&](off_t number) {
        return file_view_read_at(view, file.fd, got.data(), block, number * block);
    };
    // Often enough that the file is mapped.
    for (int i = 0; i < 100; i++) {
        ASSERT_EQ(read(39), static_cast<ssize_t>(block));
    }
    ASSERT_NE(view.base, nullptr);
    EXPECT_EQ(read(40), 0);
    EXPECT_EQ(read(-1), -1);

    // Written, grown, and with a block that really ends in zeros.
    const std::string changed(block, 'b');
    ASSERT_TRUE(file_write_at(other.fd, changed.data(), block, 39 * block));
    read(39);
    EXPECT_EQ(got, changed);
    ASSERT_TRUE(file_write_at(other.fd, std::string(block, '\0').data(), block, 40 * block));
    EXPECT_EQ(read(40), static_cast<ssize_t>(block));
    EXPECT_EQ(got, std::string(block, '\0'));

    // Cut within the page of a block, before its page, and made longer again.
    ASSERT_EQ(ftruncate(other.fd, 39 * block), 0);
    EXPECT_EQ(read(39), 0);
    EXPECT_EQ(read(40), 0);
    ASSERT_EQ(ftruncate(other.fd, 0), 0);
    EXPECT_EQ(read(39), 0);
    EXPECT_EQ(read(0), 0);
    put(name, std::string(41 * block, 'c'));
    EXPECT_EQ(read(40), static_cast<ssize_t>(block));
    EXPECT_EQ(got, std::string(block, 'c'));
    file_view_close(view);
}

}  // namespace
