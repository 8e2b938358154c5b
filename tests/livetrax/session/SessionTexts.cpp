#include "tests/livetrax/session/SessionTexts.h"

#include "base/XMLCharacters.h"

#include <algorithm>
#include <filesystem>

namespace corvane {

std::string escaped(const std::string &text) {
    std::string result;
    for (const char character : holdableByXML(text)) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\n':
            result += "&#10;";
            break;
        case '\t':
            result += "&#9;";
            break;
        case '\r':
            result += "&#13;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

namespace {

std::string attribute(const char *name, const std::optional<std::string> &value) {
    return value ? std::string(" ") + name + "=\"" + escaped(*value) + "\"" : std::string();
}

std::string portsText(const std::string &nameStart, int width, const std::string &connected,
                      std::int64_t first) {
    std::string text;
    for (int port = 0; port < width; ++port)
        text += "<Port type=\"audio\"" + attribute("name", nameStart + std::to_string(port + 1)) +
                "><ExtConnection for=\"device\"/><ExtConnection for=\"device\" other=\"" + connected +
                std::to_string(first + port) + "\"/></Port>";
    return text;
}

} // namespace

std::string routeText(const TrackText &track, int &nextId) {
    const auto id = [&] { return " id=\"" + std::to_string(nextId++) + "\""; };
    const std::string space = track.engineNamespace.value_or(track.name);
    std::string text = "<Route" + id() + attribute("name", track.name) +
                       attribute("audio-playlist", track.playlist.value_or(track.name)) + ">";
    text += "<PresentationInfo" + attribute("order", track.order) + attribute("flags", track.flags) +
            attribute("color", track.color) + "/>";
    text += "<IO direction=\"Input\"" + attribute("name", space) + ">" +
            portsText(space + "/audio_in ", track.width, "system:capture_", track.capture) + "</IO>";
    text += "<IO direction=\"Output\"" + attribute("name", space) + "><Port" +
            attribute("name", space + "/audio_out 1") +
            "><Connection other=\"Master/audio_in 1\"/></Port></IO>";
    if (track.hasDirectOut) {
        const std::string direct = track.directOutName.value_or(track.name);
        text += "<Processor" + id() + " type=\"send\" role=\"DirectOuts\"" + attribute("name", direct) +
                attribute("bitslot", track.bitslot.value_or(std::to_string(track.capture))) +
                "><IO direction=\"Output\"" + attribute("name", direct) + ">" +
                portsText(direct + "/audio_send ", track.width, "system:playback_",
                          track.playback.value_or(track.capture)) +
                "</IO></Processor>";
    }
    text += track.inside;
    text += "<Controllable name=\"monitor\" value=\"0\"/><Controllable name=\"rec-enable\"" + id() +
            " value=\"0\"/></Route>";
    return text;
}

std::string sessionText(const std::vector<TrackText> &tracks, const std::string &counter) {
    int nextId = 100;
    std::string routes;
    std::string playlists;
    for (const TrackText &track : tracks) {
        routes += routeText(track, nextId);
        playlists += "<Playlist id=\"" + std::to_string(nextId++) + "\"" +
                     attribute("name", track.playlist.value_or(track.name)) + "/>";
    }
    return "<Session version=\"7003\" " + counter +
           "><Config><Option name=\"use-osc\" value=\"1\"/><Option name=\"osc-port\" "
           "value=\"3819\"/></Config>"
           "<ControlProtocols><Protocol name=\"Open Sound Control (OSC)\" active=\"1\" session-state=\"1\"/>"
           "</ControlProtocols><Routes><Route id=\"1\" name=\"Master\">"
           "<PresentationInfo order=\"0\" flags=\"MasterOut\"/><IO direction=\"Input\" name=\"Master\">"
           "<Port name=\"Master/audio_in 1\"/></IO></Route>" +
           routes + "</Routes><Playlists>" + playlists + "</Playlists></Session>";
}

std::string smallTemplate(const std::string &counter) {
    TrackText mono;
    mono.name = "Mono Model";
    TrackText stereo;
    stereo.name = "Stereo Model";
    stereo.width = 2;
    stereo.capture = 2;
    stereo.order = "2";
    return sessionText({mono, stereo}, counter);
}

LV1Channel channel(const std::string &name, std::int32_t inputIndex, bool stereo) {
    return {name, stereo, "SoundGrid", inputIndex, "Mixer_Ch", 1};
}

std::vector<std::string> connections(XMLElement io) {
    std::vector<std::string> found;
    for (const XMLElement port : io.children("Port"))
        for (const XMLElement connection : port.children("ExtConnection"))
            if (const auto other = connection.attribute("other"))
                found.push_back(*other);
    return found;
}

XMLElement directOut(XMLElement route) {
    return route.firstChild("Processor", "role", "DirectOuts");
}

std::vector<std::string> names(XMLElement parent, const char *element) {
    std::vector<std::string> found;
    for (const XMLElement child : parent.children(element))
        found.push_back(child.attribute("name").value_or("(none)"));
    return found;
}

SessionPlatform::SessionPlatform() {
    folder.write("Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3", "program");
    setBaseTemplate(smallTemplate());
}

void SessionPlatform::setBaseTemplate(const std::string &text) {
    resources->files["LiveTraxSeed.template"] = folder.write("resources/LiveTraxSeed.template", text);
}

void SessionPlatform::writeSession(const std::string &text) const {
    folder.write("Shows/Gig/Gig.ardour", text);
}

std::vector<std::string> SessionPlatform::backups() const {
    std::vector<std::string> found;
    std::error_code missing;
    for (const auto &entry : std::filesystem::directory_iterator(sessionFolder() / "backup", missing))
        found.push_back(entry.path().filename().string());
    std::sort(found.begin(), found.end());
    return found;
}

std::map<std::string, std::string> SessionPlatform::files() const {
    std::map<std::string, std::string> found;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder.path())) {
        const std::string relative = std::filesystem::relative(entry.path(), folder.path()).string();
        found[relative] = entry.is_regular_file() ? folder.read(relative) : "(folder)";
    }
    return found;
}

} // namespace corvane
