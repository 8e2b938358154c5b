#include "base/Text.h"
#include "base/XMLCharacters.h"
#include "tests/livetrax/session/SessionTexts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

namespace corvane {
namespace {

using Generator = LiveTraxGenerator;
using Action = TrackDecision::Action;

/// Numbers that are the same on every system for the same seed.
class Random {
public:
    explicit Random(std::uint64_t seed) : engine(seed) {}
    std::uint64_t below(std::uint64_t limit) { return engine() % limit; }
    bool oneIn(std::uint64_t count) { return below(count) == 0; }
    template <class List>
    const auto &oneOf(const List &list) {
        return list[below(std::size(list))];
    }

private:
    std::mt19937_64 engine;
};

std::string randomName(Random &random) {
    static const std::vector<std::string> pool = {
        "",
        "Kick",
        "a|b",
        "\"top\" & <tail>",
        "'",
        "🥁🎤",
        "\u05E9\u05DC\u05D5\u05DD \u202Eabc",
        std::string(1000, 'x'),
        "Corvane Preserved",
        "Corvane Preserved 7",
        "Audio 1",
        "Audio",
        " ",
        "line\nbreak\ttab",
        "bell\x07",
        "/audio_in 1",
        "e\u0301",
        "\u00E9",
        "\xFF\xFE",
        "system:capture_3",
        "]]>",
        "&amp;",
        "1",
    };
    return random.oneOf(pool);
}

std::vector<LV1Channel> randomChannels(Random &random, bool uniqueNames) {
    std::vector<LV1Channel> channels;
    const std::uint64_t count = random.below(10);
    for (std::uint64_t index = 0; index < count; ++index) {
        std::string name = randomName(random);
        if (uniqueNames)
            name = std::to_string(index) + ":" + name;
        const auto input = static_cast<std::int32_t>(random.oneIn(20) ? 2147483647 : random.below(12));
        LV1Channel made = channel(name, input, random.oneIn(3));
        made.red = static_cast<float>(random.below(300)) / 255.0F;
        channels.push_back(made);
    }
    return channels;
}

std::string randomSession(Random &random) {
    std::vector<TrackText> tracks;
    const std::uint64_t count = random.below(12);
    for (std::uint64_t index = 0; index < count; ++index) {
        TrackText track;
        track.name = randomName(random);
        track.width = random.oneIn(12) ? 3 : 1 + static_cast<int>(random.below(2));
        track.capture = static_cast<std::int64_t>(random.below(13));
        track.order = std::to_string(random.below(20));
        track.engineNamespace =
            random.oneOf(std::vector<std::string>{"Audio ", "Spur ", "Corvane Preserved "}) +
            std::to_string(50 + index);
        track.playlist = random.oneIn(8) ? "shared" : "takes " + std::to_string(index);
        track.bitslot = std::to_string(random.below(13));
        track.playback = static_cast<std::int64_t>(random.below(13));
        if (random.oneIn(8)) {
            track.flags = "AudioBus";
            track.directOutName = "bus " + std::to_string(index);
        }
        tracks.push_back(track);
    }
    return sessionText(
        tracks, random.oneIn(5) ? "" : "id-counter=\"" + std::to_string(random.below(1U << 30U)) + "\"");
}

/// Takes attributes away and bends some, here and there.
void damage(const Tree &tree, Random &random) {
    for (XMLElement element : Generator::descendants(tree.root())) {
        for (XMLAttribute attribute : element.attributes()) {
            const std::string name(attribute.name());
            if (random.oneIn(25))
                element.removeAttribute(name.c_str());
            else if (random.oneIn(40))
                attribute.setValue(randomName(random));
        }
    }
}

/// What the first input of a track is connected to, by device.
std::vector<std::pair<std::string, std::string>> connectedTo(XMLElement track) {
    std::vector<std::pair<std::string, std::string>> found;
    for (const XMLElement port : track.firstChild("IO", "direction", "Input").children("Port"))
        for (const XMLElement connection : port.children("ExtConnection"))
            if (const auto other = connection.attribute("other"))
                found.emplace_back(connection.attribute("for").value_or("\x01"), *other);
    return found;
}

/// The device that most tracks are connected to, the template's ("device") of several, else the first.
std::string ownDevice(const std::vector<XMLElement> &tracks) {
    std::map<std::string, std::set<std::size_t>> users;
    std::vector<std::string> order;
    for (std::size_t index = 0; index < tracks.size(); ++index) {
        for (const auto &[device, other] : connectedTo(tracks[index])) {
            if (device == "\x01")
                continue;
            users[device].insert(index);
            order.push_back(device);
        }
    }
    std::size_t most = 0;
    for (const auto &[device, tracksOfIt] : users)
        most = std::max(most, tracksOfIt.size());
    if (most != 0 && users["device"].size() == most)
        return "device";
    for (const std::string &device : order)
        if (users[device].size() == most)
            return device;
    return "\x02";
}

/// The first input of a track, on its session's own device if it is connected there.
std::optional<std::int64_t> startOf(XMLElement track, const std::string &device) {
    const std::string prefix = "system:capture_";
    for (const auto &[each, other] : connectedTo(track))
        if (each == device && other.starts_with(prefix)) {
            if (const auto number = integer(other.substr(prefix.size())))
                return number;
            break;
        }
    return Generator::captureStart(track);
}

/// The rule of matching, told the slow way: each channel looks through the tracks that are left.
struct Expected {
    std::vector<std::string> claimedOrAdded; ///< for each channel its track's mark, or "new"
    std::vector<std::string> removed;
};

/// Marks the routes so that they are known again.
void mark(const Tree &tree) {
    int number = 0;
    for (XMLElement route : tree.routes().children("Route"))
        route.setAttribute("mark", "m" + std::to_string(number++));
}

Expected expected(const Tree &tree, const std::vector<LV1Channel> &channels) {
    std::vector<XMLElement> left;
    for (const XMLElement route : tree.routes().children("Route")) {
        const auto flags = route.firstChild("PresentationInfo").attribute("flags");
        if (flags && flags->find("AudioTrack") != std::string::npos)
            left.push_back(route);
    }
    const std::string device = ownDevice(left);
    Expected result;
    for (const LV1Channel &channel : channels) {
        const auto matches = [&](XMLElement track) {
            const XMLElement input = track.firstChild("IO", "direction", "Input");
            const std::size_t width = names(input, "Port").size();
            return width == (channel.stereo() ? 2U : 1U) &&
                   startOf(track, device) == std::int64_t{channel.inputIndex()} + 1;
        };
        const auto found = std::find_if(left.begin(), left.end(), matches);
        result.claimedOrAdded.push_back(found == left.end() ? "new" : *found->attribute("mark"));
        if (found != left.end())
            left.erase(found);
    }
    for (const XMLElement track : left)
        result.removed.push_back(*track.attribute("mark"));
    return result;
}

std::size_t idsIn(XMLElement top) {
    std::size_t count = 0;
    for (const XMLElement element : Generator::descendants(top))
        count += element.hasAttribute("id") ? 1 : 0;
    return count;
}

void expectUniquePortsAndDisjointDirectOuts(XMLElement root) {
    std::set<std::string> ports;
    std::set<std::int64_t> taken;
    for (const XMLElement element : Generator::descendants(root)) {
        const auto name = element.attribute("name");
        if (element.hasName("Port") && name) {
            EXPECT_TRUE(ports.insert(*name).second) << *name;
        }
        const auto slot = integer(element.attribute("bitslot").value_or(""));
        if (!element.hasName("Processor") || !element.attributeIs("role", "DirectOuts") || !slot)
            continue;
        for (std::int64_t channel = *slot; channel < *slot + Generator::playbackWidth(element); ++channel)
            EXPECT_TRUE(taken.insert(channel).second) << "playback channel " << channel;
    }
}

/// Whether each track's direct out could keep the slot of its input.
bool everyDirectOutAgrees(const Tree &tree) {
    for (const XMLElement route : tree.routes().children("Route")) {
        const auto slot = directOut(route).attribute("bitslot");
        if (slot && integer(*slot) != Generator::firstPlaybackChannel(directOut(route)))
            return false;
        if (slot && Generator::captureStart(route) != integer(*slot))
            return false;
    }
    return true;
}

std::vector<std::string> marks(const Tree &tree) {
    std::vector<std::string> found;
    for (const XMLElement route : tree.routes().children("Route"))
        found.push_back(route.attribute("mark").value_or("new"));
    return found;
}

/// What the plan says of each channel's track must be what became of it in the tree.
void expectChannelsInTree(const Tree &tree, const Expected &expected, const std::vector<LV1Channel> &channels,
                          const UpdatePlan &plan) {
    std::vector<XMLElement> added;
    for (const XMLElement route : tree.routes().children("Route"))
        if (!route.hasAttribute("mark"))
            added.push_back(route);
    std::size_t nextAdded = 0;
    for (std::size_t position = 0; position < channels.size(); ++position) {
        const bool isNew = expected.claimedOrAdded[position] == "new";
        EXPECT_EQ(plan.tracks[position].action == Action::add, isNew);
        ASSERT_LT(isNew ? nextAdded : 0, isNew ? added.size() : 1);
        const XMLElement track =
            isNew ? added[nextAdded++]
                  : tree.routes().firstChild("Route", "mark", expected.claimedOrAdded[position]);
        ASSERT_TRUE(track);
        EXPECT_EQ(track.attribute("name"), holdableByXML(channels[position].name()));
        EXPECT_EQ(track.firstChild("PresentationInfo").attribute("order"), std::to_string(position + 1));
        EXPECT_EQ(Generator::captureStart(track), std::int64_t{channels[position].inputIndex()} + 1);
        EXPECT_TRUE(track.firstChild("Controllable", "name", "rec-enable").attributeIs("value", "1"));
    }
    EXPECT_EQ(nextAdded, added.size());
}

/// The tree with its id counter taken away.
std::string withoutCounter(const Tree &tree) {
    Tree copy(tree.text());
    copy.root().removeAttribute("id-counter");
    return copy.text();
}

bool haveDuplicateNames(const std::vector<LV1Channel> &channels) {
    std::set<std::string> seen;
    return !std::all_of(channels.begin(), channels.end(), [&](const LV1Channel &channel) {
        return seen.insert(holdableByXML(channel.name())).second;
    });
}

void checkUpdate(std::uint64_t seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    const Tree models(smallTemplate());
    const Tree tree(randomSession(random));
    const auto channels = randomChannels(random, !random.oneIn(4));
    mark(tree);
    const std::vector<std::string> playlistsBefore = names(tree.playlists(), "Playlist");
    const auto sharedBefore = std::count(playlistsBefore.begin(), playlistsBefore.end(), "shared");
    const std::vector<std::string> before = marks(tree);
    const Expected rule = expected(tree, channels);
    const std::uint64_t counter =
        unsignedInteger(tree.root().attribute("id-counter").value_or("")).value_or(10000);

    UpdatePlan plan;
    const auto error = errorOf([&] { plan = updateSessionTree(tree.root(), models.root(), channels); });
    ASSERT_EQ(error.has_value(), haveDuplicateNames(channels));
    if (error) {
        EXPECT_EQ(error->errorCase(), GeneratorError::Case::duplicateEnginePort);
        return;
    }

    const auto added =
        static_cast<std::int64_t>(std::count(rule.claimedOrAdded.begin(), rule.claimedOrAdded.end(), "new"));
    const auto removed = static_cast<std::int64_t>(rule.removed.size());
    EXPECT_EQ(plan.result,
              (UpdateResult{static_cast<std::int64_t>(channels.size()) - added, added, removed}));
    std::vector<std::string> after;
    std::copy_if(before.begin(), before.end(), std::back_inserter(after), [&](const std::string &mark) {
        return std::find(rule.removed.begin(), rule.removed.end(), mark) == rule.removed.end();
    });
    after.insert(after.end(), static_cast<std::size_t>(added), "new");
    EXPECT_EQ(marks(tree), after);
    expectChannelsInTree(tree, rule, channels, plan);
    expectUniquePortsAndDisjointDirectOuts(tree.root());
    EXPECT_EQ(tree.root().attribute("id-counter"),
              std::to_string(counter + static_cast<std::uint64_t>(added) * 4 + 100));
    EXPECT_GE(idsIn(tree.playlists()), static_cast<std::size_t>(added));

    // Of two playlists of one name the second is found once the first is renamed.
    const bool isWired = everyDirectOutAgrees(tree);
    const bool agrees = isWired && sharedBefore < 2;
    const std::string once = withoutCounter(tree);
    const UpdatePlan again = updateSessionTree(tree.root(), models.root(), channels);
    EXPECT_EQ(again.result, (UpdateResult{static_cast<std::int64_t>(channels.size()), 0, 0}));
    // A direct out that had to make room is connected once more.
    for (const TrackDecision &track : again.tracks) {
        EXPECT_EQ(track.action, track.rewired ? Action::change : Action::keep);
        EXPECT_EQ(track.was, TrackDecision::Was());
        EXPECT_FALSE(isWired && track.rewired);
    }
    if (agrees) {
        EXPECT_EQ(withoutCounter(tree), once);
    }
    EXPECT_EQ(Tree(tree.text()).text(), tree.text());
}

TEST(UpdateProperties, RandomSessionsComeIntoLineWithRandomConsoles) {
    for (std::uint64_t seed = 0; seed < 600; ++seed) {
        checkUpdate(seed);
        ASSERT_FALSE(::testing::Test::HasFailure()) << "seed " << seed;
    }
}

TEST(UpdateProperties, DamagedSessionsAreUpdatedOrRefusedAndStayReadable) {
    std::size_t updated = 0;
    for (std::uint64_t seed = 1000; seed < 2000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const Tree models(smallTemplate());
        const Tree tree(randomSession(random));
        damage(tree, random);
        const auto channels = randomChannels(random, true);
        mark(tree);
        const Expected rule = expected(tree, channels);
        UpdatePlan plan;
        const auto error = errorOf([&] { plan = updateSessionTree(tree.root(), models.root(), channels); });
        if (!error) {
            ++updated;
            ASSERT_EQ(plan.tracks.size(), channels.size() + rule.removed.size());
            for (std::size_t position = 0; position < channels.size(); ++position)
                EXPECT_EQ(plan.tracks[position].action == Action::add,
                          rule.claimedOrAdded[position] == "new");
            EXPECT_NO_THROW(Generator::validateUniqueEnginePorts(tree.root()));
            EXPECT_NO_THROW(Generator::validateUniqueDirectOutSlots(tree.root()));
        }
        EXPECT_EQ(Tree(tree.text()).text(), tree.text());
    }
    EXPECT_GT(updated, 300U);
}

TEST(UpdateProperties, AnUpdatedSessionsSignatureIsTheConsoles) {
    SessionPlatform platform;
    for (std::uint64_t seed = 3000; seed < 3100; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const Tree models(smallTemplate());
        const Tree tree(randomSession(random));
        std::vector<LV1Channel> channels;
        for (const LV1Channel &each : randomChannels(random, true))
            channels.push_back(channel(holdableByXML(each.name()), each.inputIndex(), each.stereo()));
        updateSessionTree(tree.root(), models.root(), channels);
        platform.writeSession(tree.text());
        if (!tree.routes().firstChild("Route"))
            continue;
        EXPECT_EQ(Generator::sessionPatchSignature(platform.sessionFolder()),
                  Generator::patchSignature(channels));
    }
}

TEST(UpdateProperties, APlanAndItsUpdateNeverDisagree) {
    for (std::uint64_t seed = 4000; seed < 4020; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        SessionPlatform platform;
        platform.writeSession(randomSession(random));
        const auto channels = randomChannels(random, random.oneIn(2));
        const auto files = platform.files();
        UpdatePlan plan;
        const auto refusal =
            errorOf([&] { plan = Generator::plan(platform.platform, platform.sessionFolder(), channels); });
        EXPECT_EQ(platform.files(), files);
        UpdateResult result;
        const auto error = errorOf(
            [&] { result = Generator::update(platform.platform, platform.sessionFolder(), channels); });
        EXPECT_EQ(refusal ? refusal->errorDescription() : "", error ? error->errorDescription() : "");
        EXPECT_EQ(result, plan.result);
    }
}

TEST(GenerationProperties, ATemplateReadsBackAsItsChannelsOrIsRefused) {
    SessionPlatform platform;
    std::size_t made = 0;
    for (std::uint64_t seed = 5000; seed < 5200; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const auto channels = randomChannels(random, true);
        const std::string name = "Gig " + std::to_string(seed);
        const auto error = errorOf([&] {
            Generator::generate(platform.platform, name, platform.folder.path() / "Shows", channels);
        });
        if (error) {
            EXPECT_TRUE(error->errorCase() == GeneratorError::Case::duplicateCapturePort ||
                        error->errorCase() == GeneratorError::Case::duplicateDirectOutBitSlot)
                << error->errorDescription();
            continue;
        }
        ++made;
        const Tree tree(platform.folder.read("home/Library/Preferences/LiveTrax3/templates/" + name + "/" +
                                             name + ".template"));
        expectUniquePortsAndDisjointDirectOuts(tree.root());
        std::vector<std::string> expectedNames = {"Master"};
        for (const LV1Channel &each : channels)
            expectedNames.push_back(holdableByXML(each.name()));
        EXPECT_EQ(names(tree.routes(), "Route"), expectedNames);
    }
    EXPECT_GT(made, 20U);
}

} // namespace
} // namespace corvane
