#include "platform/files/JsonUserDefaults.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

TEST(JsonUserDefaults, ATextIsFoundAgainByAnotherProgram) {
    const TemporaryFolder folder;
    const fs::path file = folder / "corvane/defaults.json";
    JsonUserDefaults(file).set("CorvaneLastSession", "/Users/x/Año \"1\"\n");
    EXPECT_EQ(JsonUserDefaults(file).string("CorvaneLastSession"), "/Users/x/Año \"1\"\n");
    EXPECT_EQ(JsonUserDefaults(file).string("CorvaneDeviceID"), std::nullopt);
    EXPECT_EQ(json::parse(textOf(file)), json({{"CorvaneLastSession", "/Users/x/Año \"1\"\n"}}));
}

TEST(JsonUserDefaults, NothingIsThereBeforeTheFirstChangeAndNothingIsCreatedByReading) {
    const TemporaryFolder folder;
    EXPECT_EQ(JsonUserDefaults(folder / "corvane/defaults.json").string("CorvaneDeviceID"), std::nullopt);
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 0);
}

TEST(JsonUserDefaults, AChangeKeepsWhatAnotherProgramChangedMeanwhile) {
    const TemporaryFolder folder;
    const fs::path file = folder / "defaults.json";
    JsonUserDefaults window(file);
    JsonUserDefaults commandLine(file);
    window.set("CorvaneDeviceID", "1");
    commandLine.set("CorvaneLastSession", "/a");
    window.set("CorvaneDeviceID", "2");
    EXPECT_EQ(json::parse(textOf(file)), json({{"CorvaneDeviceID", "2"}, {"CorvaneLastSession", "/a"}}));
}

TEST(JsonUserDefaults, ChangesMadeAtTheSameTimeAreAllKept) {
    const TemporaryFolder folder;
    const fs::path file = folder / "defaults.json";
    constexpr int writers = 4;
    constexpr int changes = 10;
    std::vector<std::thread> threads;
    for (int writer = 0; writer < writers; ++writer)
        threads.emplace_back([&file, writer] {
            JsonUserDefaults defaults(file, std::chrono::minutes(1)); // on a busy machine each may wait long
            for (int change = 0; change < changes; ++change)
                defaults.set(std::to_string(writer) + "." + std::to_string(change), "x");
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(json::parse(textOf(file)).size(), std::size_t{writers * changes});
}

TEST(JsonUserDefaults, ADamagedFileIsKeptAside) {
    for (const char *damaged : {"{\"CorvaneLastSession\": \"/a", "[1, 2]", "", "null"}) {
        const TemporaryFolder folder;
        const fs::path file = folder.write("defaults.json", damaged);
        folder.write("defaults.json.damaged-1", "an earlier one");
        JsonUserDefaults defaults(file);
        EXPECT_EQ(defaults.string("CorvaneLastSession"), std::nullopt);
        EXPECT_EQ(textOf(file), damaged);
        defaults.set("CorvaneDeviceID", "1");
        EXPECT_EQ(defaults.string("CorvaneDeviceID"), "1");
        EXPECT_EQ(textOf(folder / "defaults.json.damaged-1"), "an earlier one");
        EXPECT_EQ(textOf(folder / "defaults.json.damaged-2"), damaged);
    }
}

TEST(JsonUserDefaults, WhatIsNotATextIsAbsentAndSurvivesAChangeOfAnotherKey) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("defaults.json", R"({"CorvaneLastSession": 7, "other": {"a": [1]}})");
    JsonUserDefaults defaults(file);
    EXPECT_EQ(defaults.string("CorvaneLastSession"), std::nullopt);
    defaults.set("CorvaneDeviceID", "1");
    EXPECT_EQ(json::parse(textOf(file)),
              json({{"CorvaneLastSession", 7}, {"other", {{"a", {1}}}}, {"CorvaneDeviceID", "1"}}));
}

TEST(JsonUserDefaults, AValueThatIsThereAlreadyIsNotWrittenAgain) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("defaults.json", "{\"a\":\"1\"}");
    JsonUserDefaults(file).set("a", "1");
    EXPECT_EQ(textOf(file), "{\"a\":\"1\"}");
}

TEST(JsonUserDefaults, BytesThatAreNoTextNeverThrow) {
    const TemporaryFolder folder;
    JsonUserDefaults defaults(folder / "defaults.json");
    defaults.set("path", "/a/\xFF");
    EXPECT_EQ(defaults.string("path"), "/a/\uFFFD");
}

TEST(JsonUserDefaults, APlaceThatCannotBeWrittenIsPutUpWith) {
    const TemporaryFolder folder;
    folder.write("file", "");
    JsonUserDefaults defaults(folder / "file/defaults.json");
    defaults.set("a", "1");
    EXPECT_EQ(defaults.string("a"), std::nullopt);
    fs::create_directories(folder / "folder");
    JsonUserDefaults isFolder(folder / "folder");
    isFolder.set("a", "1");
    EXPECT_EQ(isFolder.string("a"), std::nullopt);
}

TEST(JsonUserDefaults, ALockIsWaitedForAndOneThatIsNeverReleasedDoesNotHoldUpAChangeForEver) {
    using namespace std::chrono_literals;
    const TemporaryFolder folder;
    const fs::path lock = folder.write("defaults.json.lock", "");
    const int held = ::open(lock.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);
    JsonUserDefaults defaults(folder / "defaults.json", 20ms);
    const auto start = std::chrono::steady_clock::now();
    defaults.set("a", "1");
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
    EXPECT_EQ(defaults.string("a"), "1");
    ::close(held);
    JsonUserDefaults(folder / "defaults.json", 1h).set("a", "2"); // nobody holds it
    EXPECT_EQ(defaults.string("a"), "2");
}

TEST(JsonUserDefaults, ThoseWhoReadTheFileFindItOrderlyAndInTheirOwnLetters) {
    const TemporaryFolder folder;
    JsonUserDefaults(folder / "defaults.json").set("a", "Año");
    EXPECT_EQ(folder.read("defaults.json"), "{\n  \"a\": \"Año\"\n}\n");
}

TEST(JsonUserDefaults, OfDamagedFilesAHundredAreKeptAndThenNothingIsChangedAnyMore) {
    const TemporaryFolder folder;
    for (int number = 1; number < 100; ++number)
        folder.write("defaults.json.damaged-" + std::to_string(number), "earlier");
    JsonUserDefaults defaults(folder.write("defaults.json", "damaged"));
    defaults.set("a", "1");
    EXPECT_EQ(folder.read("defaults.json.damaged-100"), "damaged");
    EXPECT_EQ(defaults.string("a"), "1");
    folder.write("defaults.json", "damaged again");
    defaults.set("a", "2");
    EXPECT_EQ(folder.read("defaults.json"), "damaged again");
    EXPECT_EQ(folder.read("defaults.json.damaged-100"), "damaged");
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 102); // with the lock's
}

} // namespace
} // namespace corvane
