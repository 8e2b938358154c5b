#include "platform/files/FileState.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>

namespace corvane {
namespace {

namespace fs = std::filesystem;

TEST(FileState, IsTheDateAndTheSizeOfAFileAndNoneOfWhatIsNone) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("Show", "1234");
    const auto date = fs::last_write_time(file);
    EXPECT_EQ(stateOf(file), FileState(std::pair(date, std::uintmax_t{4})));
    fs::last_write_time(file, date + std::chrono::seconds(1));
    EXPECT_EQ(stateOf(file), FileState(std::pair(date + std::chrono::seconds(1), std::uintmax_t{4})));
    EXPECT_EQ(stateOf(folder / "none"), std::nullopt);
    EXPECT_EQ(stateOf(folder.path()), std::nullopt);
}

} // namespace
} // namespace corvane
