#include "sim/LiveTraxSimSession.h"

#include "base/Text.h"
#include "livetrax/session/XMLTree.h"
#include "platform/files/Files.h"

#include <cmath>
#include <utility>
#include <vector>

namespace corvane {
namespace {

using Path = std::filesystem::path;

/// The recorder counts time in ticks of which so many make a second, at any sample rate.
constexpr double ticksPerSecond = 282240000;
/// Of the device that nobody hears: a template has none, a session has its device's.
constexpr auto sampleRate = "48000";
constexpr std::size_t recentSessions = 10;

std::string textOf(const Path &file) {
    const Bytes bytes = readFile(file);
    return {bytes.begin(), bytes.end()};
}

/// The folders that the recorder makes beside a session file.
void createSubfolders(const Path &folder) {
    const Path media = appending(folder / "interchange", lastPathComponent(folder));
    for (const char *name : {"audiofiles", "midifiles"})
        createFolders(media / name);
    for (const char *name : {"analysis", "dead", "export", "externals", "peaks", "plugins"})
        createFolders(folder / name);
}

/// Takes the session's next free id.
std::string nextIdentifier(XMLElement session) {
    const auto counter = session.attribute("id-counter");
    const auto number = unsignedInteger(counter.value_or("")).value_or(1);
    session.setAttribute("id-counter", std::to_string(number + 1));
    return std::to_string(number);
}

std::string position(double seconds) {
    return "a" + std::to_string(std::llround(seconds * ticksPerSecond));
}

/// The marks whose attribute has that value.
std::vector<XMLElement> marksWhere(XMLElement session, const char *attribute, const std::string &value) {
    std::vector<XMLElement> found;
    for (const XMLElement location : session.firstChild("Locations").children("Location"))
        if (location.attributeIs("flags", "IsMark") && location.attributeIs(attribute, value))
            found.push_back(location);
    return found;
}

void appendMark(XMLElement session, const std::string &name, double seconds) {
    XMLElement locations = session.firstChild("Locations");
    if (!locations)
        locations = session.append("Locations");
    XMLElement location = locations.append("Location");
    location.setAttribute("id", nextIdentifier(session));
    location.setAttribute("name", name);
    location.setAttribute("start", position(seconds));
    location.setAttribute("end", position(seconds));
    location.setAttribute("flags", "IsMark");
    location.setAttribute("locked", "0");
    location.setAttribute("position-lock-style", "AudioTime");
}

} // namespace

Path LiveTraxSimSession::sessionFile(const Path &folder) {
    return appending(folder, lastPathComponent(folder) + ".ardour");
}

LiveTraxSimSession LiveTraxSimSession::create(const Path &folder, const Path &preferences,
                                              const std::string &templateName) {
    const Path file = sessionFile(folder);
    if (fileExists(file))
        throw FileError("there is a session already: " + file.string());
    const Path templates = appending(preferences / "templates", templateName);
    const Path source = appending(templates, templateName + ".template");
    const XMLDocument document = XMLDocument::load(source);
    document.root().setAttribute("name", lastPathComponent(folder));
    document.root().setAttribute("sample-rate", sampleRate);

    createFolders(folder);
    createSubfolders(folder);
    LiveTraxSimSession session(file, document.serialised());
    session.save();
    return session;
}

LiveTraxSimSession LiveTraxSimSession::open(const Path &folder) {
    const Path file = sessionFile(folder);
    std::string text = textOf(file);
    XMLDocument::parse(text, file.string()); // what is not well-formed is refused now
    return {file, std::move(text)};
}

void LiveTraxSimSession::addMarker(double seconds, const std::string &name) {
    const std::string own = "mark" + std::to_string(++marks);
    const XMLDocument document = XMLDocument::parse(text, file.string());
    appendMark(document.root(), name.empty() ? own : name, seconds);
    text = document.serialised();
}

std::optional<double> LiveTraxSimSession::markerAt(const std::string &name) const {
    const XMLDocument document = XMLDocument::parse(text, file.string());
    const auto found = marksWhere(document.root(), "name", name);
    if (found.empty())
        return std::nullopt;
    const auto ticks = unsignedInteger(found.front().attribute("start").value_or("a").substr(1));
    return static_cast<double>(ticks.value_or(0)) / ticksPerSecond;
}

bool LiveTraxSimSession::nameMarker(double seconds, const std::string &name) {
    const XMLDocument document = XMLDocument::parse(text, file.string());
    auto found = marksWhere(document.root(), "start", position(seconds));
    if (found.empty())
        return false;
    found.back().setAttribute("name", name);
    text = document.serialised();
    return true;
}

void LiveTraxSimSession::save() {
    XMLDocument::parse(text, file.string()).writeAtomically(file);
}

void prependToRecent(const Path &preferences, const Path &folder) {
    const Path file = preferences / "recent";
    std::string list = lastPathComponent(folder) + "\n" + folder.string() + "\n";
    if (fileExists(file)) {
        const auto lines = nonEmptyLines(textOf(file));
        std::size_t count = 1;
        for (std::size_t i = 0; i + 1 < lines.size() && count < recentSessions; i += 2) {
            if (lines[i + 1] == folder.string())
                continue;
            list += lines[i] + "\n" + lines[i + 1] + "\n";
            ++count;
        }
    }
    createFolders(preferences);
    replaceFileAtomically(file, list);
}

} // namespace corvane
