#include "fuzz/Fuzzing.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/Track.h"
#include "tests/fakes/FakeSystem.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <numeric>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace corvane;

namespace {

using Channels = std::vector<LV1Channel>;

/// Names that meet each other, and names that XML or the recorder treat in ways of their own.
constexpr std::array<const char *, 12> names = {
    "Kick", "Snare", "kick", "",          " Kick ", "Master", "Corvane Preserved Kick",
    "a/b",  "<&\">", "\x01", "N\xC3\xB1", "183"};
/// What people call tracks, and what stands by chance in much else of a session.
constexpr std::array<const char *, 14> usersNames = {
    "L", "R", "A", "i", "1", "in", "Input", "Audio", "Meter", "rec", "Track", "Vox 2", "Audio 1", "yes"};
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
    for (auto count = choices.below(5); count > 0; --count) {
        const std::string name = names[choices.below(names.size())];
        const bool stereo = choices.yes();
        const auto input = static_cast<std::int32_t>(choices.below(20)) - 1;
        channels.emplace_back(name, stereo, "SoundGrid 1", input, "Mixer_Ch", 1);
    }
    return channels;
}

std::string_view ownerOf(std::string_view port) {
    return port.substr(0, std::min(port.rfind('/'), port.size()));
}

/// Renames a route as the recorder does for its user: the ports, what is called by them, and the other ends.
void renameInRecorder(XMLElement root, XMLElement route, const std::string &name) {
    const std::string old = session::Track(route).engineNamespace();
    const auto rename = [&](XMLElement element, const char *attribute) {
        const auto value = element.attribute(attribute);
        if (value && ownerOf(*value) == old)
            element.setAttribute(attribute, name + value->substr(old.size()));
    };
    for (const XMLElement element : root.descendants({"Connection", "ExtConnection"}))
        rename(element, "other");
    for (const XMLElement port : route.descendants({"Port"}))
        rename(port, "name");
    for (XMLElement element : route.descendants({"IO", "Processor"}))
        if (element.attributeIs("name", old))
            element.setAttribute("name", name);
}

void renameSome(XMLElement root, Choices &choices) {
    const auto routes = root.firstChild("Routes").descendants({"Route"});
    for (auto renames = choices.below(4); renames > 0 && !routes.empty(); --renames) {
        const std::string name = usersNames[choices.below(usersNames.size())];
        const XMLElement route = routes[choices.below(routes.size())];
        if (std::none_of(routes.begin(), routes.end(),
                         [&](XMLElement each) { return session::Track(each).engineNamespace() == name; }))
            renameInRecorder(root, route, name);
    }
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

template <class List>
bool holds(const List &list, std::string_view text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

/// What an update looks at and edits, and little beside: with all that a recorder keeps, nearly every
/// disturbance would miss, and each would take ten times as long.
bool matters(XMLElement element) {
    constexpr std::array<std::string_view, 11> always = {
        "Config",    "ControlProtocols", "Routes",           "Route",
        "Playlists", "Playlist",         "PresentationInfo", "IO",
        "Port",      "Connection",       "ExtConnection"};
    constexpr std::array<std::string_view, 4> named = {"rec-enable", "osc-port", "auto-play",
                                                       "Open Sound Control (OSC)"};
    return holds(always, element.name()) || element.hasAttribute("role") ||
           holds(named, element.attribute("name").value_or(""));
}

bool matters(XMLAttribute attribute) {
    constexpr std::array<std::string_view, 16> always = {
        "id",    "name",          "role",       "bitslot", "direction",      "flags",
        "order", "color",         "value",      "active",  "audio-playlist", "orig-track-id",
        "other", "session-state", "id-counter", "for"};
    return holds(always, attribute.name());
}

void prune(XMLElement top) {
    std::vector<std::string> needless;
    for (const auto attribute : top.attributes())
        if (!matters(attribute))
            needless.emplace_back(attribute.name());
    for (const auto &name : needless)
        top.removeAttribute(name.c_str());
    for (auto element : top.children()) {
        if (matters(element))
            prune(element);
        else
            element.remove();
    }
}

/// A file of a session or template without what does not matter.
std::string pruned(const char *path) {
    const auto document = XMLDocument::load(path);
    prune(document.root());
    return document.serialised();
}

struct Outcome {
    std::optional<UpdatePlan> plan;
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

/// The engine with its base template, in memory and on files.
class Engine {
public:
    Engine() { fake.resources->files["LiveTraxSeed.template"] = fake.folder.write("base", baseText); }

    /// A session with random tracks, made by the engine itself from a real one.
    XMLDocument session(const Channels &channels) {
        constexpr std::size_t most = 1000;
        if (made.size() == most)
            made.clear();
        auto &text = made[LiveTraxGenerator::patchSignature(channels)];
        if (text.empty()) {
            const auto session = XMLDocument::parse(realText, "a real session");
            // A tree that was left halfway is a session as good as any.
            update(session, channels);
            text = session.serialised();
        }
        return XMLDocument::parse(text, "a session");
    }

    Outcome update(const XMLDocument &session, const Channels &channels) const {
        if (!session.root().firstChild("Routes") || !session.root().firstChild("Playlists"))
            return {std::nullopt, GeneratorError::sessionUnreadable(folder.string()).what()};
        return outcomeOf([&] { return updateSessionTree(session.root(), base.root(), channels); });
    }

    Outcome planOnFile(const Channels &channels) const {
        return outcomeOf([&] { return LiveTraxGenerator::plan(fake.platform, folder, channels); });
    }

    Outcome updateOnFile(const Channels &channels) const {
        return outcomeOf([&] {
            return UpdatePlan{{}, LiveTraxGenerator::update(fake.platform, folder, channels)};
        });
    }

    void write(const std::string &text) { fake.folder.write("Show/Show.ardour", text); }
    std::string written() const { return fake.folder.read("Show/Show.ardour"); }

private:
    FakePlatform fake;
    std::filesystem::path folder = fake.folder.path() / "Show";
    std::string realText = pruned(CORVANE_SESSION);
    std::string baseText = pruned(CORVANE_SEED);
    XMLDocument base = XMLDocument::parse(baseText, "the base template");
    std::map<std::string, std::string> made; ///< texts of sessions by their signatures
};

/// Whether a track's first input port lacks a connection on a device that a later one has one on. Such a
/// track is known by the later one's number, which becomes another in an update: the next one takes it for
/// another channel's.
bool beginsUnconnected(session::Track track) {
    std::set<std::string> first;
    bool isFirst = true;
    for (const XMLElement port : track.input().ports()) {
        for (const XMLElement connection : port.children("ExtConnection")) {
            const auto device = connection.attribute("for").value_or("");
            if (!connection.hasAttribute("other"))
                continue;
            if (isFirst)
                first.insert(device);
            else if (first.count(device) == 0)
                return true;
        }
        isFirst = false;
    }
    return false;
}

bool isFoundAgain(const XMLDocument &session) {
    const auto tracks = session::audioTracks(session.root());
    return std::none_of(tracks.begin(), tracks.end(), beginsUnconnected);
}

/// What must not be lost or come about by an update, of a session as it stands before one. Routes, playlists
/// and ports are known again by marks of their own.
class Inventory {
public:
    explicit Inventory(XMLElement root) {
        for (XMLElement element : root.descendants({"Route", "Playlist", "Port"}))
            element.setAttribute("mark", "m" + std::to_string(marks++));
        note(root);
    }

    void demand(XMLElement root) const {
        const Inventory after(root, *this);
        for (const auto &[route, flags] : after.flags)
            require(flagsBefore(route) == flags, "an update never touches a route's flags");
        for (const auto &[route, playlist] : playlistOf)
            require(after.flags.count(route) == 0 || after.playlists.count(playlist) != 0,
                    "a route keeps its playlist");
        for (const std::string &route : calledAsPorts)
            require(after.flags.count(route) == 0 || after.calledAsPorts.count(route) != 0,
                    "an IO is called as its ports are, or the recorder does not find them");
        if (isAmbiguous)
            return;
        for (const auto &[from, to] : after.connections)
            require(connections.count({from, to}) != 0, "what was not connected is not connected afterwards");
    }

private:
    Inventory(XMLElement root, const Inventory & /*before*/) { note(root); }

    static std::string markOf(XMLElement element) { return element.attribute("mark").value_or(""); }

    /// Whether all inputs and outputs of a route bear the name that owns its ports.
    static bool isCalledAsPorts(XMLElement route) {
        const std::string owner = session::Track(route).engineNamespace();
        for (const XMLElement io : route.children("IO")) {
            if (!io.attributeIs("name", owner))
                return false;
            for (const XMLElement port : io.children("Port"))
                if (ownerOf(port.attribute("name").value_or("")) != owner)
                    return false;
        }
        return true;
    }

    std::vector<std::string> flagsBefore(const std::string &route) const {
        const auto found = flags.find(route);
        return found == flags.end() ? std::vector<std::string>{"none"} : found->second;
    }

    void note(XMLElement root) {
        notePlaylists(root.firstChild("Playlists"));
        std::map<std::string, std::string> ports;
        for (const XMLElement route : root.firstChild("Routes").children("Route")) {
            noteRoute(route);
            for (const XMLElement port : route.descendants({"Port"})) {
                const auto name = port.attribute("name").value_or("");
                isAmbiguous = isAmbiguous || !ports.emplace(name, markOf(port)).second;
            }
        }
        for (const XMLElement port : root.firstChild("Routes").descendants({"Port"})) {
            session::forEachInnerConnection(port, [&](XMLElement, const std::string &other) {
                const auto found = ports.find(other);
                if (found != ports.end() && !found->second.empty() && !markOf(port).empty())
                    connections.emplace(markOf(port), found->second);
            });
        }
    }

    void notePlaylists(XMLElement list) {
        for (const XMLElement playlist : list.children("Playlist")) {
            playlists.insert(markOf(playlist));
            byId.emplace(playlist.attribute("id").value_or(""), markOf(playlist));
            byName.emplace(playlist.attribute("name").value_or(""), markOf(playlist));
        }
    }

    void noteRoute(XMLElement route) {
        if (markOf(route).empty())
            return;
        if (isCalledAsPorts(route))
            calledAsPorts.insert(markOf(route));
        auto &all = flags[markOf(route)];
        for (const XMLElement shown : route.children("PresentationInfo"))
            all.push_back(shown.attribute("flags").value_or("none"));
        const auto played = route.attribute("audio-playlist");
        for (const auto *index : {&byId, &byName}) {
            const auto found = played ? index->find(*played) : index->end();
            if (found == index->end())
                continue;
            playlistOf[markOf(route)] = found->second;
            break;
        }
    }

    std::size_t marks = 0;
    std::map<std::string, std::vector<std::string>> flags; ///< by the marks of routes
    std::map<std::string, std::string> playlistOf;         ///< by the marks of routes
    std::set<std::string> calledAsPorts;                   ///< marks of routes
    std::set<std::string> playlists;
    std::map<std::string, std::string> byId;
    std::map<std::string, std::string> byName;
    std::set<std::pair<std::string, std::string>> connections;
    bool isAmbiguous = false; ///< several ports have one name: nobody can tell what is connected
};

/// What two updates in a row come to on a tree.
struct Updated {
    Outcome first;
    std::string text; ///< after the first
    Outcome second;
};

/// On a file they come to the same: the plans, the result and the text.
void demandOnFile(Engine &engine, const std::string &before, const Channels &channels,
                  const Updated &onTree) {
    engine.write(before);
    const auto planned = engine.planOnFile(channels);
    require(planned == onTree.first, "a plan decides as the update of a tree does");
    require(engine.written() == before, "a plan touches nothing");

    const auto updated = engine.updateOnFile(channels);
    require(updated.plan.has_value() == planned.plan.has_value() && updated.error == planned.error,
            "plan and update succeed alike");
    if (!updated.plan) {
        require(engine.written() == before, "a refused update changes nothing");
        return;
    }
    require(updated.plan->result == planned.plan->result, "plan and update decide alike");
    require(engine.written() == onTree.text, "an updated file is the updated tree");
    require(engine.planOnFile(channels) == onTree.second, "an updated file is read as the updated tree");
}

/// Files take ten times as long as trees: one input in sixteen is tried there as well, always the same ones.
bool goesToFiles(const std::uint8_t *data, std::size_t size) {
    return std::accumulate(data, data + size, size) % 16 == 0;
}

} // namespace

/// Plan and update of one session decide alike, the plan touches nothing, a refused update leaves the file as
/// it was, an updated session needs no track added or removed, and ten updates in a row lose nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr int chain = 10;
    static Engine engine;
    Choices choices(data, size);
    const auto session = engine.session(channelsOf(choices));
    renameSome(session.root(), choices);
    disturb(session.root(), choices);
    const auto channels = channelsOf(choices);

    const Inventory inventory(session.root());
    const bool onFiles = goesToFiles(data, size);
    const auto before = onFiles ? session.serialised() : std::string();
    const bool foundAgain = isFoundAgain(session);
    Updated updated;
    updated.first = engine.update(session, channels);
    if (updated.first.plan)
        inventory.demand(session.root());
    if (onFiles)
        updated.text = session.serialised();
    if (updated.first.plan)
        updated.second = engine.update(session, channels);
    if (onFiles)
        demandOnFile(engine, before, channels, updated);
    if (updated.first.plan && foundAgain)
        require(updated.second.plan && updated.second.plan->result.added == 0 &&
                    updated.second.plan->result.removed == 0,
                "a second update finds all tracks");
    bool goesOn = updated.second.plan.has_value();
    for (int round = 2; round < chain && goesOn; ++round) {
        const Inventory next(session.root());
        goesOn = engine.update(session, channelsOf(choices)).plan.has_value();
        if (goesOn)
            next.demand(session.root());
    }
    return 0;
}
