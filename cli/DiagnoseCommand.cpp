#include "base/Text.h"
#include "cli/Discovery.h"
#include "cli/Json.h"
#include "cli/ListeningCommand.h"
#include "cli/Redaction.h"
#include "livetrax/LiveTraxSurface.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "livetrax/session/Markers.h"
#include "livetrax/session/RecorderConfiguration.h"
#include "livetrax/session/XMLLibrary.h"
#include "lv1/LV1Surface.h"
#include "platform/files/Files.h"
#include "platform/host/InterfaceList.h"
#include "platform/host/SystemDescription.h"
#include "platform/queues/AsioVersion.h"

#include <CLI/Version.hpp>

#include <set>

namespace corvane::cli {

namespace {

using namespace std::chrono_literals;
using Path = std::filesystem::path;

constexpr std::chrono::milliseconds defaultListeningTimeout = 3s;
constexpr std::size_t mostLogLines = 200;
/// LiveTrax remembers many more; a log of two hundred lines does not go back that far.
constexpr std::size_t mostSessionsRead = 10;

std::string compiler() {
#ifdef _GLIBCXX_RELEASE
    return std::string(__VERSION__) + ", libstdc++ " + std::to_string(_GLIBCXX_RELEASE);
#else
    return std::string(__VERSION__) + ", libc++ " + std::to_string(_LIBCPP_VERSION);
#endif
}

Json programJson() {
    return {{"version", CORVANE_VERSION},
            {"compiler", compiler()},
            {"libraries",
             {{"Asio", asioVersion()},
              {"CLI11", CLI11_VERSION},
              {"libxml2", xmlLibraryVersion()},
              {"nlohmann-json", std::to_string(NLOHMANN_JSON_VERSION_MAJOR) + "." +
                                    std::to_string(NLOHMANN_JSON_VERSION_MINOR) + "." +
                                    std::to_string(NLOHMANN_JSON_VERSION_PATCH)}}}};
}

Json interfacesJson() {
    Json list = Json::array();
    for (const InterfaceDescription &each : interfaceList())
        list.push_back({{"name", each.name},
                        {"up", each.up},
                        {"multicast", each.multicast},
                        {"addresses", each.addresses}});
    return list;
}

Json countersJson(const LV1Counters &counted) {
    const auto &traffic = counted.traffic;
    Json json{{"links", counted.links},
              {"accepted", counted.accepted},
              {"reconnects", counted.reconnects()},
              {"frames", traffic.frames},
              {"messages", traffic.messages},
              {"pings", traffic.pings},
              {"unreadableFrames", traffic.unreadableFrames()},
              {"refusedHeaders", traffic.refusedHeaders},
              {"malformedPatches", traffic.malformedPatches},
              {"skippedChannels", traffic.skippedChannels},
              {"malformedColours", traffic.malformedColours},
              {"malformedScenes", traffic.malformedScenes},
              {"announcements", counted.announcements.heard},
              {"refusedAnnouncements", counted.announcements.refused},
              {"droppedAnnouncements", counted.announcements.dropped},
              {"millisecondsSinceLastMessage", nullptr}};
    if (counted.sinceLastMessage)
        json["millisecondsSinceLastMessage"] = counted.sinceLastMessage->count();
    return json;
}

/// The last lines of a file; none when it cannot be read.
std::vector<std::string> lastLines(const Path &file) {
    try {
        const Bytes bytes = readFile(file);
        auto lines = nonEmptyLines({reinterpret_cast<const char *>(bytes.data()), bytes.size()});
        if (lines.size() > mostLogLines)
            lines.erase(lines.begin(), lines.end() - mostLogLines);
        return lines;
    } catch (const FileError &) {
        return {};
    }
}

/// The same for people, indented; what is nested stands below its name.
void appendText(std::string &text, const Json &json, const std::string &indent) {
    const auto shown = [](const Json &value) {
        return value.is_string() ? withoutControls(value.get<std::string>())
               : value.is_null() ? "-"
                                 : line(value);
    };
    if (json.empty())
        text += indent + "none\n";
    for (const auto &[name, value] : json.items()) {
        if (json.is_array() && !value.is_structured())
            text += indent + shown(value) + "\n";
        else if (json.is_array()) {
            std::string row;
            for (const auto &[key, part] : value.items())
                row += (row.empty() ? "" : ", ") + key + " " + shown(part);
            text += indent + row + "\n";
        } else if (value.is_structured()) {
            text += indent + name + "\n";
            appendText(text, value, indent + "  ");
        } else
            text += indent + name + ": " + shown(value) + "\n";
    }
}

/// What support asks for. It listens to the network for a moment and connects as `watch` does, so that there
/// is something to count; what it found out goes to standard output or a file, and nowhere else.
class DiagnoseCommand : public ListeningCommand {
    using ListeningCommand::ListeningCommand;

    void start() override {
        context.output.progress("Listening for LV1 hosts…");
        ListeningCommand::start();
    }

    void wire(LV1Client &console) override {
        console.onChannels = whileListening([this](const std::vector<LV1Channel> &channels) {
            for (const LV1Channel &channel : channels)
                names.insert(channel.name());
        });
        console.onScene = whileListening([this](const std::string &name) { names.insert(name); });
    }

    void statusIs(const std::string &text) override { status = text; }
    std::optional<std::chrono::milliseconds> listeningTime() const override {
        return context.options.duration.value_or(defaultListeningTimeout);
    }

    void timeIsOver(LV1Client &console) override {
        console.askCounters(whileListening([this, &console](const LV1Counters &counted) {
            report(console, counted);
            end();
        }));
    }

    void report(const LV1Client &console, const LV1Counters &counted) {
        const Options &options = context.options;
        addKnownNames();
        Json json{{"corvane", programJson()},
                  {"system", {{"name", systemDescription()}}},
                  {"interfaces", interfacesJson()},
                  {"console", consoleJson(console, counted)},
                  {"liveTrax", recorderJson()},
                  {"ports", portsJson()},
                  {"defaults", defaultsJson()},
                  {"log", lastLines(supportFolder(context.platform.folders) / "livetrax.log")}};
        if (options.withNames)
            json["system"]["computer"] = context.platform.host().localizedName.value_or("");
        else
            redact(json);
        std::string text;
        if (!options.json)
            appendText(text, json, "");
        const std::string whole = options.json ? document(json) : text;
        if (!options.saveTo)
            return context.output.print(whole);
        replaceFileAtomically(*options.saveTo, whole);
        context.output.print(options.json ? document({{"saved", options.saveTo->string()}})
                                          : "Saved as " + options.saveTo->string() + "\n");
    }

    /// What the log may hold, or LiveTrax's list of sessions.
    void addKnownNames() {
        const Platform &platform = context.platform;
        auto sessions = recentSessions(platform.folders);
        if (const auto known = LiveTraxGenerator::knownSessionURL(*platform.defaults, platform.folders))
            sessions.insert(sessions.begin(), *known);
        for (std::size_t each = 0; each < sessions.size(); ++each) {
            names.insert(lastPathComponent(sessions[each]));
            if (each < mostSessionsRead)
                addNamesIn(sessions[each]);
        }
    }

    void addNamesIn(const Path &session) {
        try {
            for (const std::string &mark : readMarkNames(session))
                names.insert(mark);
            // "name|width|input"
            for (const std::string &track :
                 nonEmptyLines(LiveTraxGenerator::sessionPatchSignature(session).value_or("")))
                names.insert(track.substr(0, track.rfind('|', track.rfind('|') - 1)));
        } catch (const FileError &) { // it is not there any more
        } catch (const XMLError &) {
        }
    }

    Json consoleJson(const LV1Client &console, const LV1Counters &counted) const {
        Json hosts = Json::array();
        const auto add = [&](Json host, const char *way) {
            host["via"] = way;
            hosts.push_back(std::move(host));
        };
        for (const LV1Endpoint &endpoint : console.endpoints)
            add(endpointJson(endpoint), "multicast");
        for (const auto &service : console.services)
            add(serviceJson(*service), "bonjour");
        return {{"hosts", hosts},
                {"status", status},
                {"errors", nonEmptyLines(discoveryErrors(*console.multicast, *console.browser))},
                {"counters", countersJson(counted)}};
    }

    Json recorderJson() const {
        const Platform &platform = context.platform;
        const auto target = LiveTraxGenerator::target(platform.folders);
        Json json{{"runs", LiveTraxGenerator::runningApplication(platform) != nullptr},
                  {"sessionsRemembered", recentSessions(platform.folders).size()},
                  {"target", nullptr}};
        if (!target)
            return json;
        json["target"] = target->displayName;
        json["program"] = programFile(*target).string();
        const Path preferences = preferencesFolder(platform.folders, target->preferences);
        json["preferences"] = preferences.string();
        try {
            json["configuration"] = configurationJson(readConfiguration(preferences));
        } catch (const std::exception &error) {
            json["configuration"] = error.what();
        }
        return json;
    }

    static Json configurationJson(const std::optional<RecorderConfiguration> &configuration) {
        if (!configuration)
            return nullptr;
        return {
            {"surfaceIsOn", configuration->surfaceIsOn()},
            {"surfaceActive", configuration->surfaceActive ? Json(*configuration->surfaceActive) : Json()},
            {"options", configuration->options},
            {"devices", configuration->devices}};
    }

    Json portsJson() const {
        Json ports = Json::array();
        for (const std::uint16_t port :
             {liveTraxSurface::port, liveTraxSurface::replyPort, lv1Surface::announcementPort}) {
            Json holders = Json::array();
            for (const UDPPortHolder &holder : context.portHolders(port))
                holders.push_back(described(holder));
            ports.push_back({{"port", port}, {"holders", holders}});
        }
        return ports;
    }

    Json defaultsJson() const {
        Json json = Json::object();
        for (const char *key : {LiveTraxGenerator::lastSessionKey, lv1Surface::deviceIdentifierKey})
            if (const auto value = context.platform.defaults->string(key))
                json[key] = *value;
        return json;
    }

    void redact(Json &json) const {
        const Redaction redaction(context.platform.folders.home, {names.begin(), names.end()});
        for (Json &each : json["log"])
            each = redaction.line(each.get<std::string>());
        redactPaths(json, redaction);
    }

    static void redactPaths(Json &json, const Redaction &redaction) {
        if (json.is_string())
            json = redaction.path(json.get<std::string>());
        else if (json.is_structured())
            for (Json &each : json)
                redactPaths(each, redaction);
    }

    std::set<std::string> names; ///< that are not to be told
    std::string status;
};

} // namespace

std::shared_ptr<Command> makeDiagnoseCommand(const CommandContext &context) {
    return std::make_shared<DiagnoseCommand>(context);
}

} // namespace corvane::cli
