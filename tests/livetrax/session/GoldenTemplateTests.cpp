#include "tests/livetrax/session/SessionTexts.h"

#include "platform/files/Files.h"
#include "tests/support/BuiltFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace corvane {
namespace {

const std::filesystem::path DATA = testData();
const std::filesystem::path SHIPPED_TEMPLATE =
    DATA.parent_path().parent_path() / "resources/LiveTraxSeed.template";

std::string contentOf(const std::filesystem::path &path) {
    if (!fileExists(path))
        return {};
    const Bytes bytes = readFile(path);
    return {bytes.begin(), bytes.end()};
}

/// Compares with a file of tests/data/golden. On a mismatch what was received is kept beside it: look at the
/// difference, and move it over the golden file when it is what it should be.
void expectGolden(const std::string &name, const std::string &received) {
    const std::filesystem::path golden = DATA / "golden" / name;
    const std::filesystem::path kept = golden.string() + ".received";
    std::filesystem::remove(kept);
    if (contentOf(golden) == received)
        return;
    std::ofstream(kept, std::ios::binary) << received;
    ADD_FAILURE() << golden << " differs from " << kept;
}

/// The template that `baseTemplate` gives for these channels.
std::string generated(const std::vector<LV1Channel> &channels,
                      const std::filesystem::path &baseTemplate = DATA / "golden/base.template") {
    SessionPlatform platform;
    platform.resources->files["LiveTraxSeed.template"] = baseTemplate;
    LiveTraxGenerator::generate(platform.platform, "Gig", platform.folder.path() / "Shows", channels);
    return platform.folder.read("home/Library/Preferences/LiveTrax3/templates/Gig/Gig.template");
}

LV1Channel colored(const std::string &name, std::int32_t inputIndex, bool stereo, float red, float green,
                   float blue) {
    return {name, stereo, "SoundGrid", inputIndex, "Mixer_Ch", inputIndex + 1, red, green, blue};
}

TEST(GoldenTemplate, NoChannels) {
    expectGolden("none.template", generated({}));
}

TEST(GoldenTemplate, OneMonoChannel) {
    expectGolden("mono.template", generated({channel("Kick", 0)}));
}

TEST(GoldenTemplate, OneStereoChannel) {
    expectGolden("stereo.template", generated({channel("Overheads", 6, true)}));
}

TEST(GoldenTemplate, ASmallBand) {
    expectGolden(
        "band.template",
        generated({colored("Kick", 0, false, 1.0F, 0.5F, 0.0F),
                   colored("Snare top", 1, false, 1.0F, 0.0F, 0.0F), colored("OH", 6, true, 0.2F, 0.2F, 0.2F),
                   colored("Bass", 3, false, 0.0F, 1.0F, 0.0F), colored("Keys", 10, true, 0.0F, 0.0F, 1.0F),
                   colored("Vox", 4, false, 1.0F, 1.0F, 1.0F)}));
}

TEST(GoldenTemplate, NamesOfEveryKind) {
    expectGolden(
        "names.template",
        generated({channel("a|b", 0), channel("R&B \"horns\" <2>", 1), channel("Café 鼓 🥁", 2, true),
                   channel("\u05D0\u05D1\u05D2", 4), channel("", 5), channel("bell\x07", 6)}));
}

/// Everything below a folder of test data with that extension.
std::vector<std::filesystem::path> dataFiles(const std::string &folder, const std::string &extension) {
    std::vector<std::filesystem::path> found;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(DATA / folder))
        if (entry.path().extension() == extension)
            found.push_back(entry.path());
    return found;
}

TEST(RecordedSessions, ASessionThatTheRecorderWroteComesBackWithoutOneDifferingByte) {
    const auto sessions = dataFiles("sessions", ".ardour");
    ASSERT_FALSE(sessions.empty());
    for (const auto &session : sessions)
        EXPECT_EQ(XMLDocument::load(session).serialised(), contentOf(session)) << session;
}

TEST(ShippedTemplate, ComesBackWithoutOneDifferingByte) {
    EXPECT_EQ(XMLDocument::load(SHIPPED_TEMPLATE).serialised(), contentOf(SHIPPED_TEMPLATE));
}

TEST(ShippedTemplate, ServesGenerationAndUpdateAlike) {
    const std::vector<LV1Channel> channels = {channel("Kick", 0), channel("OH", 6, true)};
    SessionPlatform platform;
    platform.writeSession(generated(channels, SHIPPED_TEMPLATE));
    platform.resources->files["LiveTraxSeed.template"] = SHIPPED_TEMPLATE;
    EXPECT_EQ(LiveTraxGenerator::sessionPatchSignature(platform.sessionFolder()), "Kick|1|0\nOH|2|6");
    EXPECT_EQ(
        LiveTraxGenerator::update(platform.platform, platform.sessionFolder(),
                                  {channel("Bass Drum", 0), channel("Vox", 1), channel("Keys", 2, true)}),
        (UpdateResult{1, 2, 1}));
    EXPECT_EQ(LiveTraxGenerator::sessionPatchSignature(platform.sessionFolder()),
              "Bass Drum|1|0\nVox|1|1\nKeys|2|2");
}

} // namespace
} // namespace corvane
