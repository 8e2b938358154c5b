#include "patch/PatchConflicts.h"
#include "tests/livetrax/session/SessionTexts.h"
#include "tests/support/BuiltFiles.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <set>

namespace corvane {
namespace {

using Case = GeneratorError::Case;

/// Patches of a few channels whose names and inputs meet about every other time, the same in every run.
class RandomPatches {
public:
    std::vector<LV1Channel> next() {
        static const std::array<std::string, 14> names = {
            "Vox",     "Vox 2", "A:B", "A-B",     "A\x01", "A\x02",  "A\xEF\xBF\xBD",
            "Audio 1", "Kick",  "OH",  "Audio 2", "a/b",   "Master", "Master/audio_in 1"};
        const auto count = 1 + below(4);
        std::vector<LV1Channel> channels;
        channels.reserve(static_cast<std::size_t>(count));
        const int spread = below(2) == 0 ? 12 : 200;
        for (int index = 0; index < count; ++index)
            channels.push_back(channel(names.at(static_cast<std::size_t>(below(14))),
                                       inputs(below(40), below(spread)), below(2) == 0));
        return channels;
    }

private:
    int below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    /// Now and then at the ends of what the console can send.
    static int inputs(int rare, int usual) {
        return rare == 0 ? 2147483647 : rare == 1 ? -2147483647 - 1 : rare == 2 ? -1 : usual;
    }

    std::mt19937 random{20261122}; // NOLINT(bugprone-random-generator-seed)
};

TEST(PatchConflictProperty, ThereAreNoneExactlyWhenASessionCanBeMade) {
    SessionPlatform platform;
    platform.resources->files["LiveTraxSeed.template"] = seedTemplate();
    RandomPatches patches;
    std::set<Case> seen;
    int made = 0;
    for (int round = 0; round < 400; ++round) {
        const auto channels = patches.next();
        const auto error = errorOf([&] {
            LiveTraxGenerator::generate(platform.platform, "Gig", platform.folder.path() / "Shows", channels);
        });
        const auto conflicts = patchConflicts(channels);
        ASSERT_EQ(error.has_value(), !conflicts.empty()) << (error ? error->what() : "made") << "\n"
                                                         << LiveTraxGenerator::patchSignature(channels);
        if (!error) {
            ++made;
            continue;
        }
        seen.insert(error->errorCase());
        // The refusal names what the first conflict of its kind is about.
        if (error->errorCase() == Case::duplicateEnginePort)
            EXPECT_EQ(PatchConflict::Kind::name, conflicts.front().kind);
        else
            EXPECT_EQ(PatchConflict::Kind::input, conflicts.front().kind);
    }
    EXPECT_GT(made, 50);
    EXPECT_EQ(
        (std::set{Case::duplicateEnginePort, Case::duplicateCapturePort, Case::duplicateDirectOutBitSlot}),
        seen);
}

} // namespace
} // namespace corvane
