#pragma once

#include "livetrax/session/LiveTraxGenerator.h"
#include "tests/fakes/FakeSystem.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// A track of a session or template that a test makes up. What is left empty is left out of the file.
struct TrackText {
    std::string name;
    int width = 1;
    std::int64_t capture = 1; ///< 1-based number of the first input
    std::optional<std::string> order = "1";
    std::optional<std::string> color = "0";
    std::string flags = "AudioTrack,OrderSet";
    std::optional<std::string> engineNamespace; ///< the track's name when left out
    std::optional<std::string> playlist;        ///< "audio-playlist"; the track's name when left out
    std::optional<std::string> bitslot;         ///< the first input when left out
    std::optional<std::int64_t> playback;       ///< the first input when left out
    std::optional<std::string> directOutName;   ///< the track's name when left out
    bool hasDirectOut = true;
    std::string inside; ///< further elements of the route
};

std::string escaped(const std::string &text);
std::string routeText(const TrackText &track, int &nextId);
/// A session of these tracks and their playlists, below a bus.
std::string sessionText(const std::vector<TrackText> &tracks,
                        const std::string &counter = "id-counter=\"500\"");
/// A template with a mono and a stereo model of four ids each, their playlists' included.
std::string smallTemplate(const std::string &counter = "id-counter=\"10000\"");

LV1Channel channel(const std::string &name, std::int32_t inputIndex, bool stereo = false);

/// The tree of a text, with its root at hand.
struct Tree {
    explicit Tree(const std::string &text) : document(XMLDocument::parse(text, "The test's text")) {}
    XMLElement root() const { return document.root(); }
    XMLElement routes() const { return root().firstChild("Routes"); }
    XMLElement playlists() const { return root().firstChild("Playlists"); }
    XMLElement route(const std::string &name) const { return routes().firstChild("Route", "name", name); }
    std::string text() const { return document.serialised(); }

    XMLDocument document;
};

/// All values of the connections of an element's ports, in document order.
std::vector<std::string> connections(XMLElement io);
XMLElement directOut(XMLElement route);
std::vector<std::string> names(XMLElement parent, const char *element);
/// The error that `action` throws, or none.
template <class Action>
std::optional<GeneratorError> errorOf(Action action) {
    try {
        action();
    } catch (const GeneratorError &error) {
        return error;
    }
    return std::nullopt;
}

/// A platform with LiveTrax 3 installed, the small template as base template and a session "Gig" when one is
/// written.
class SessionPlatform : public FakePlatform {
public:
    SessionPlatform();
    void setBaseTemplate(const std::string &text);
    /// Writes the session file of `sessionFolder()`.
    void writeSession(const std::string &text) const;
    std::string session() const { return folder.read("Shows/Gig/Gig.ardour"); }
    std::filesystem::path sessionFolder() const { return folder.path() / "Shows" / "Gig"; }
    /// The pre-sync backups' file names, sorted.
    std::vector<std::string> backups() const;
    /// Every file below the test's folder with its content.
    std::map<std::string, std::string> files() const;
};

} // namespace corvane
