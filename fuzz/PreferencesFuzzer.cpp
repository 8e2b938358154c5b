#include "fuzz/Fuzzing.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "livetrax/session/XMLTextEdits.h"
#include "platform/files/Files.h"
#include "tests/fakes/FakeSystem.h"

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

using namespace corvane;

namespace {

constexpr const char *preferences = "home/Library/Preferences/LiveTrax3/";

/// A user's home with LiveTrax 3's preferences and one session, "Gig".
struct Home {
    FakePlatform fake;
    Target target{"LiveTrax 3", "LiveTrax3", "LiveTrax3", "LiveTrax3.app"};
    std::filesystem::path session = fake.folder.write("Gig/Gig.ardour", "").parent_path();

    void write(const char *name, std::string_view text) {
        fake.folder.write(preferences + std::string(name), text);
    }
    std::string read(const char *name) const { return fake.folder.read(preferences + std::string(name)); }
    std::filesystem::path file(const char *name) const {
        return fake.folder.path() / (preferences + std::string(name));
    }
};

std::optional<XMLDocument> readable(const std::string &text) {
    try {
        return XMLDocument::parse(text, "a file", XMLDocument::Blanks::keep);
    } catch (const XMLError &) {
        return std::nullopt;
    }
}

bool isSurfaceOn(XMLElement root) {
    for (const char *name : {"osc-port", "use-osc"}) {
        const auto option = root.firstChild("Config").firstChild("Option", "name", name);
        const std::string wanted = name == std::string_view("use-osc") ? "1" : "3819";
        if (root.firstChild("Config") && option.attribute("value").value_or(wanted) != wanted)
            return false;
    }
    const auto surface =
        root.firstChild("ControlProtocols").firstChild("Protocol", "name", "Open Sound Control (OSC)");
    return !surface ||
           (surface.attributeIs("session-state", "1") && surface.attribute("active").value_or("1") == "1");
}

/// Whether every line of `before` that no edit can be in stands in `after`, in the same order. Nothing is
/// said of what stands behind a quote that its line leaves open.
bool keepsOtherLines(std::string_view before, std::string_view after) {
    const auto isEdited = [](std::string_view line) {
        for (const char *mark : {"Config", "Option", "Protocol", "osc", "=", "'", "\""})
            if (line.find(mark) != std::string_view::npos)
                return true;
        return false;
    };
    std::size_t found = 0;
    for (std::size_t at = 0; at < before.size();) {
        const std::size_t end = std::min(before.find('\n', at), before.size());
        const std::string_view line = before.substr(at, end - at);
        at = end + 1;
        for (const char quote : {'"', '\''})
            if (std::count(line.begin(), line.end(), quote) % 2 != 0)
                return true;
        if (isEdited(line) || line.empty())
            continue;
        found = after.find(line, found);
        if (found == std::string_view::npos)
            return false;
        found += line.size();
    }
    return true;
}

/// The same edits made in a tree and in its text read the same, and the text keeps what is not edited.
void edits(const std::string &text) {
    const auto document = readable(text);
    if (!document)
        return;
    const auto original = document->serialised();
    require(textWithEdits(text, *document).value_or(text) == text,
            "a text without edits is the text that was read");
    LiveTraxGenerator::enableOSC(document->root());
    const auto edited = textWithEdits(text, *document);
    if (!edited)
        return;
    const auto again = readable(*edited);
    require(again && again->serialised() == document->serialised(),
            "an edited text reads as the edited tree");
    require(original != document->serialised() || *edited == text,
            "a tree that has not changed changes no text");
    require(keepsOtherLines(text, *edited), "what is not edited keeps its bytes");
}

/// LiveTrax's configuration: refused and untouched, or switched on with a copy of what was there. A second
/// time changes nothing.
void configuration(Home &home, const std::string &text) {
    std::filesystem::remove(home.file("config.corvane-backup"));
    home.write("config", text);
    edits(text);
    const auto switchOn = [&] { LiveTraxGenerator::ensureOSCEnabled(*home.fake.folders, home.target); };
    try {
        switchOn();
    } catch (const std::exception &error) {
        require(error.what()[0] != '\0', "a refusal says why");
        require(home.read("config") == text, "what is refused is left as it was");
        return;
    }
    require(home.read("config.corvane-backup") == text, "the first configuration is kept");
    const auto switched = home.read("config");
    const auto document = readable(switched);
    require(document && isSurfaceOn(document->root()), "the surface is on");
    switchOn();
    require(home.read("config") == switched, "a second time changes nothing");
    require(home.read("config.corvane-backup") == text, "the first configuration stays");
}

/// The first of the hooks that earlier versions installed; none when none is in the list.
XMLElement oldHook(XMLElement root) {
    constexpr std::array<std::string_view, 3> old = {"Corvane Sync", "Corvane Tick", "Corvane Probe"};
    for (const auto callback : root.firstChild("ActionHooks").children("LuaCallback"))
        if (std::find(old.begin(), old.end(), callback.attribute("name").value_or("")) != old.end())
            return callback;
    return {};
}

/// LiveTrax's hooks: the old ones go and nothing else does, a file without any stays as it is, nothing is
/// ever thrown.
void hooks(Home &home, const std::string &text) {
    home.write("ui_scripts", text);
    LiveTraxGenerator::removeUnusedSyncHook(*home.fake.folders, home.target);
    const auto expected = readable(text);
    if (!expected || !oldHook(expected->root())) {
        require(home.read("ui_scripts") == text, "a list without old hooks is not written");
        return;
    }
    while (XMLElement hook = oldHook(expected->root()))
        hook.remove();
    const auto written = home.read("ui_scripts");
    const auto after = readable(written);
    require(after && after->serialised() == expected->serialised(), "old hooks go, and nothing else");
    require(textWithEdits(text, *expected).value_or(written) == written,
            "what is not a hook keeps its bytes");
}

/// LiveTrax's list of recent sessions, where "~" stands for the folder of the one that exists: it is found
/// where a path stands, and nothing else is.
void recent(Home &home, std::string text) {
    const auto real = home.session.string();
    for (auto at = text.find('~'); at != std::string::npos; at = text.find('~', at + real.size()))
        text.replace(at, 1, real);
    home.write("recent", text);
    if (const auto found = LiveTraxGenerator::mostRecentSessionURL(*home.fake.folders))
        require(fileExists(LiveTraxGenerator::sessionFile(*found)), "only sessions that exist are recent");
    else
        require(text != "Gig\n" + real, "a session that exists is found");
}

/// A session, for its patch: whatever can be read and has a route has one.
void patch(Home &home, const std::string &text) {
    home.fake.folder.write("Gig/Gig.ardour", text);
    const auto document = readable(text);
    const bool hasRoute = document && document->root().firstChild("Routes").firstChild("Route");
    require(LiveTraxGenerator::sessionPatchSignature(home.session).has_value() == hasRoute,
            "a session with a route has a patch, and nothing else has");
}

} // namespace

/// Any text as one of the files in LiveTrax's preferences, or as the session that they name; the first byte
/// says which.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static Home home;
    if (size == 0)
        return 0;
    const std::string text(reinterpret_cast<const char *>(data) + 1, size - 1);
    switch (data[0] % 4) {
    case 0:
        configuration(home, text);
        break;
    case 1:
        hooks(home, text);
        break;
    case 2:
        recent(home, text);
        break;
    default:
        patch(home, text);
    }
    return 0;
}
