#include "platform/files/Volume.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace corvane {

namespace {

TEST(Volume, OfAFolderThatIsNotThereYetIsThatOfTheNearestAboveIt) {
    const TemporaryFolder folder;
    const auto there = volumeOf(folder.path());
    const auto notYet = volumeOf(folder.path() / "Shows/Friday");
    ASSERT_TRUE(there);
    ASSERT_TRUE(notYet);
    EXPECT_EQ(there->name, notYet->name);
    EXPECT_GT(there->available, 0U);
}

TEST(Volume, IsCalledAsItsTopmostFolder) {
    const auto root = volumeOf("/");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->name, "");
    if (std::filesystem::exists("/proc/self")) {
        EXPECT_EQ(volumeOf("/proc/self/fd")->name, "proc");
    }
}

} // namespace

} // namespace corvane
