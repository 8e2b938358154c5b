#include "livetrax/session/SessionHardware.h"
#include "platform/files/Files.h"
#include "tests/livetrax/session/SessionTexts.h"
#include "tests/support/BuiltFiles.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

TrackText track(const std::string &name, int width) {
    TrackText made;
    made.name = name;
    made.width = width;
    return made;
}

TEST(SessionHardware, TheBaseTemplateIsForSoundGridAndOfTheUsualFormat) {
    EXPECT_EQ((SessionHardware{"CoreAudio;;Waves SoundGrid", {}, 3}), readHardware(seedTemplate()));
}

TEST(SessionHardware, ASessionSaysItsRateAndWhatItRecords) {
    const Tree tree(sessionText({track("Kick", 1), track("OH", 2)}, R"(sample-rate="96000")"));
    EXPECT_EQ((SessionHardware{"device", {96'000, 4}, 3}), hardwareOf(tree.root()));
}

TEST(SessionHardware, ARateThatIsNoneIsTheUsual) {
    for (const char *rate : {"", "0", "-1", "fast", "4294967296"}) {
        const Tree tree(sessionText({track("Kick", 1)}, "sample-rate=\"" + std::string(rate) + "\""));
        EXPECT_EQ(48'000U, hardwareOf(tree.root()).format.rate) << rate;
    }
}

TEST(SessionHardware, AFileThatIsNotThereIsAnError) {
    EXPECT_THROW(readHardware("/nowhere/Gig.ardour"), FileError);
}

} // namespace
} // namespace corvane
