#pragma once

#include "livetrax/session/XMLTree.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What the session engine sees of a session's or a template's tree: views, each as cheap to copy as the
// element it looks at and valid as long. All that they do not name stays as it stands. Internal to
// livetrax/session.

namespace corvane::session {

constexpr std::string_view CAPTURE_PREFIX = "system:capture_";
constexpr std::string_view PLAYBACK_PREFIX = "system:playback_";

/// Calls `visit` with an element and all elements below it, depth first in document order. The tree must not
/// change meanwhile, attribute values excepted.
template <class Visit>
void forEachElement(XMLElement top, Visit visit) {
    XMLElement element = top;
    while (element) {
        visit(element);
        XMLElement following = element.firstChild();
        while (!following && element != top) {
            following = element.next();
            element = element.parent();
        }
        element = following;
    }
}

/// The inputs or outputs of a route or a processor; may be none, and then has no ports.
class IO {
public:
    IO() = default;
    explicit IO(XMLElement element) : element(element) {}
    /// The first of each direction.
    static IO inputOf(XMLElement owner) { return IO(owner.firstChild("IO", "direction", "Input")); }
    static IO outputOf(XMLElement owner) { return IO(owner.firstChild("IO", "direction", "Output")); }

    explicit operator bool() const { return static_cast<bool>(element); }
    /// The number of ports.
    std::int64_t width() const;
    XMLChildren ports() const { return element.children("Port"); }
    /// Calls `visit` with each connection of a port to a port outside of the session, and with that one's
    /// name.
    template <class Visit>
    static void forEachConnection(XMLElement port, Visit visit) {
        std::string buffer;
        for (const XMLElement connection : port.children("ExtConnection"))
            if (const XMLAttribute other = connection.findAttribute("other"))
                visit(other, other.value(buffer));
    }
    template <class Visit>
    void forEachConnection(Visit visit) const {
        for (const XMLElement port : ports())
            forEachConnection(port, visit);
    }
    /// The first connection that begins with `prefix`, and the number that follows it there.
    std::optional<std::string> firstConnectionText(std::string_view prefix) const;
    std::optional<std::int64_t> firstConnection(std::string_view prefix) const;
    /// Whether any port is connected, to hardware or within the session.
    bool isConnected() const;
    XMLElement toElement() const { return element; }
    /// Redirects the connections of the ports to consecutive engine ports: `prefix` and a number, counted
    /// from `firstNumber`. With `only`, just the connections that begin with it.
    void connect(std::string_view prefix, std::int64_t firstNumber, std::string_view only = "");
    /// Names the IO itself, and its ports after it: "Kick/audio_send 1".
    void nameSends(const std::string &name);

private:
    XMLElement element;
};

/// The capture ports that a track's input is connected to, as they were when it was read.
class Captures {
public:
    explicit Captures(IO input);
    /// The number of the first; with `device`, of that device's before any other's.
    std::optional<std::int64_t> first(const std::string &device = "") const;

private:
    /// In document order, by the devices that they are made for.
    std::vector<std::pair<std::string, std::optional<std::int64_t>>> numbers;
};

/// The processor that sends a track to playback channels of its own.
class DirectOut {
public:
    static bool is(XMLElement element);
    explicit DirectOut(XMLElement processor) : processor(processor) {}

    XMLElement element() const { return processor; }
    /// Fills a model's direct out for a channel; a slot that is not there is not added. `name` is one that
    /// the recorder can hold (directOutName).
    void configure(const std::string &name, std::int64_t firstChannel);
    void setSlot(const std::string &slot) { processor.setAttribute("bitslot", slot); }
    /// Redirects its playback connections, of all its outputs, to the run that begins with a channel.
    void connect(std::int64_t firstChannel);
    /// Whether its output has at least so many ports, any of them connected.
    bool isWhole(std::int64_t width) const;
    /// Takes a copy of a model's output in place of its own, which may be missing, and returns it.
    XMLElement takeOutputFrom(DirectOut model);
    /// The route that it stands in.
    XMLElement route() const;

private:
    XMLElement processor;
};

/// A route: an audio track or a bus.
class Track {
public:
    explicit Track(XMLElement route) : route(route) {}

    XMLElement element() const { return route; }
    std::optional<std::string> name() const { return route.attribute("name"); }
    bool isAudioTrack() const;
    /// Whether it says what it is, and that it is no audio track.
    bool isSurelyNoAudioTrack() const;
    /// Its place from the top, counted from 1, as it stands in the file.
    std::optional<std::string> order() const { return presentation().attribute("order"); }
    IO input() const { return IO::inputOf(route); }
    std::int64_t width() const { return input().width(); }
    Captures captures() const { return Captures(input()); }
    /// The devices that its input is connected to, each once.
    std::vector<std::string> devices() const;
    /// The text before "/audio_" in the names of its own ports.
    std::string engineNamespace() const;
    /// What it names as its playlist.
    std::optional<std::string> playlist() const { return route.attribute("audio-playlist"); }

private:
    XMLElement presentation() const { return route.firstChild("PresentationInfo"); }
    XMLElement route;
};

/// The audio tracks among the routes of a root's first "Routes", in document order.
std::vector<Track> audioTracks(XMLElement root);

/// Counts the devices that tracks are connected to. (The recorder keeps connections for every device that a
/// session ever ran on.)
class DeviceCount {
public:
    void add(Track track);
    /// The one that most of the tracks are connected to; on a tie `preferred` if it is one of them, else the
    /// first. Empty when there is none.
    std::string most(const std::string &preferred = "") const;

private:
    std::vector<std::pair<std::string, std::size_t>> counted;
};

/// The device that most of these tracks are connected to, as DeviceCount has it.
std::string deviceOf(const std::vector<Track> &tracks, const std::string &preferred = "");

/// Makes all hardware connections of a copied model those of a device; an empty one changes nothing.
void useDevice(XMLElement copy, const std::string &device);

/// Calls `visit` with each connection of a port to a port within the session, and with that one's name.
template <class Visit>
void forEachInnerConnection(XMLElement port, Visit visit) {
    for (const XMLElement connection : port.children("Connection"))
        if (const auto other = connection.attribute("other"))
            visit(connection, *other);
}

/// Whether a name marks what belongs to the user ("Corvane Preserved…": see docs/Names.md).
bool isPreservedName(std::string_view name);

/// The mono and the stereo audio track of the base template that new tracks are copied from.
struct ModelTracks {
    Track mono;
    Track stereo;

    Track forWidth(std::int64_t width) const { return width == 2 ? stereo : mono; }
    /// The namespaces of their ports.
    std::vector<std::string> namespaces() const { return {mono.engineNamespace(), stereo.engineNamespace()}; }
};
/// Throws GeneratorError (invalidTemplate) when either is missing.
ModelTracks modelTracks(const std::vector<Track> &tracks);

} // namespace corvane::session
