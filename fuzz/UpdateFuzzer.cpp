#include "fuzz/Fuzzing.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "platform/Files.h"
#include "tests/fakes/FakeSystem.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

using namespace corvane;

namespace {

using Channels = std::vector<LV1Channel>;

/// Names that meet each other, and names that XML or the recorder treat in ways of their own.
constexpr std::array<const char *, 12> names = {
    "Kick", "Snare", "kick", "",          " Kick ", "Master", "Corvane Preserved Kick",
    "a/b",  "<&\">", "\x01", "N\xC3\xB1", "183"};
/// Far from where sums of two of them would overflow, which stops the program on purpose.
constexpr std::array<const char *, 14> values = {"",
                                                 "0",
                                                 "1",
                                                 "2",
                                                 "system:capture_1",
                                                 "system:playback_2",
                                                 "system:capture_3",
                                                 "-1",
                                                 "x",
                                                 "999999999999",
                                                 "AudioTrack",
                                                 "IsMark",
                                                 "1e3",
                                                 "Master"};

Channels channelsOf(Choices &choices) {
    Channels channels;
    for (auto count = choices.below(7); count > 0; --count) {
        const std::string name = names[choices.below(names.size())];
        const bool stereo = choices.yes();
        const auto input = static_cast<std::int32_t>(choices.below(20)) - 1;
        channels.emplace_back(name, stereo, "SoundGrid 1", input, "Mixer_Ch", 1);
    }
    return channels;
}

/// Changes the session as a person, another version or a broken disk might.
void disturb(XMLElement root, Choices &choices) {
    for (auto edits = choices.below(12); edits > 0; --edits) {
        const auto all = LiveTraxGenerator::descendants(root);
        const auto element = all[choices.word() % all.size()];
        if (element == root)
            continue;
        std::vector<std::string> attributes;
        for (const auto attribute : element.attributes())
            attributes.emplace_back(attribute.name());
        const auto attribute = attributes.empty() ? "name" : attributes[choices.below(attributes.size())];
        switch (choices.below(5)) {
        case 0:
            XMLElement(element).setAttribute(attribute.c_str(), values[choices.below(values.size())]);
            break;
        case 1:
            XMLElement(element).setAttribute(attribute.c_str(), names[choices.below(names.size())]);
            break;
        case 2:
            XMLElement(element).removeAttribute(attribute.c_str());
            break;
        case 3:
            element.parent().appendCopy(element);
            break;
        default:
            XMLElement(element).remove();
        }
    }
}

/// A session with random tracks, made by the engine itself from a real one, then disturbed.
std::string sessionText(Choices &choices) {
    static const XMLDocument base = XMLDocument::load(CORVANE_SEED);
    static const std::string real = XMLDocument::load(CORVANE_SESSION).serialised();
    const XMLDocument session = XMLDocument::parse(real, "a real session");
    try {
        updateSessionTree(session.root(), base.root(), channelsOf(choices));
    } catch (const GeneratorError &) {
        // A tree that was left halfway is a session as good as any.
    }
    disturb(session.root(), choices);
    return session.serialised();
}

struct Outcome {
    std::optional<UpdateResult> result;
    std::string error;
    bool operator==(const Outcome &) const = default;
};

template <class Operation>
Outcome outcomeOf(Operation operation) {
    try {
        return {operation(), ""};
    } catch (const GeneratorError &error) {
        return {std::nullopt, error.what()};
    }
}

} // namespace

/// Plan and update of one session decide alike, the plan touches nothing, a refused update leaves the file as
/// it was, and an updated session has the console's patch and needs no track added or removed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static FakePlatform fake;
    fake.resources->files["LiveTraxSeed.template"] = CORVANE_SEED;
    Choices choices(data, size);
    const auto folder = fake.folder.path() / "Show";
    const auto text = sessionText(choices);
    const auto channels = channelsOf(choices);
    fake.folder.write("Show/Show.ardour", text);

    const auto planned =
        outcomeOf([&] { return LiveTraxGenerator::plan(fake.platform, folder, channels).result; });
    require(fake.folder.read("Show/Show.ardour") == text, "a plan touches nothing");
    const auto updated =
        outcomeOf([&] { return LiveTraxGenerator::update(fake.platform, folder, channels); });
    require(planned == updated, "plan and update decide alike");
    if (!updated.result) {
        require(fake.folder.read("Show/Show.ardour") == text, "a refused update changes nothing");
        return 0;
    }
    XMLDocument::load(folder / "Show.ardour");
    const auto again =
        outcomeOf([&] { return LiveTraxGenerator::plan(fake.platform, folder, channels).result; });
    require(again.result && again.result->added == 0 && again.result->removed == 0,
            "a second update finds all tracks");
    return 0;
}
