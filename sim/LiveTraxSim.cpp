#include "sim/LiveTraxSim.h"

#include "livetrax/LiveTraxSurface.h"
#include "osc/OSCCodec.h"
#include "platform/files/Files.h"

#include <bit>
#include <chrono>
#include <exception>
#include <utility>
#include <variant>

namespace corvane {
namespace {

/// Audio is processed in blocks, and the playhead moves on by whole ones.
constexpr std::chrono::milliseconds block{20};

/// The text that a message holds; null when it holds none.
const std::string *nameIn(const OSCMessage &message) {
    return message.values.empty() ? nullptr : std::get_if<std::string>(&message.values.front());
}

LiveTraxSimSession openedOrMade(const LiveTraxCommandLine &line, const std::filesystem::path &preferences) {
    return line.templateName ? LiveTraxSimSession::create(line.folder, preferences, *line.templateName)
                             : LiveTraxSimSession::open(line.folder);
}

/// The engine says the speed in a double, which our own messages have no case for.
Bytes encoded(const OSCMessage &reply) {
    Bytes bytes = OSCCodec::message(reply.address, reply.values);
    if (reply.values.size() == 1 && std::holds_alternative<float>(reply.values.front())) {
        const double speed = std::get<float>(reply.values.front());
        bytes = OSCCodec::message(reply.address, {std::bit_cast<std::int64_t>(speed)});
        bytes[OSCCodec::paddedString(reply.address).size() + 1] = 'd';
    }
    return bytes;
}

} // namespace

std::filesystem::path liveTraxPreferences(const std::filesystem::path &home,
                                          const std::filesystem::path &program) {
    const bool isFirst = program.filename() == "LiveTrax1";
    return home / "Library" / "Preferences" / (isFirst ? "LiveTrax1" : "LiveTrax3");
}

LiveTraxSim::LiveTraxSim(const LiveTraxCommandLine &commandLine, const LiveTraxBehaviour &behaviour,
                         const std::filesystem::path &preferences, SerialQueue &queue, Log log)
    : behaviour(behaviour), queue(queue), log(std::move(log)), started(queue.now()),
      rolling(behaviour.rolling), armed(behaviour.armed), recording(behaviour.recording),
      session(openedOrMade(commandLine, preferences)) {
    prependToRecent(preferences, commandLine.folder);
    this->log((commandLine.templateName ? "created " : "opened ") + commandLine.folder.string());
}

void LiveTraxSim::openSurface(const std::shared_ptr<AsioContext> &context) {
    if (behaviour.deaf)
        return;
    surface = std::make_unique<SurfaceSocket>(
        context, queue, liveTraxSurface::port, [this](const Bytes &datagram, const std::string &sender) {
            const auto message = OSCCodec::parse(datagram);
            if (!message)
                return log("not an OSC message: " + std::to_string(datagram.size()) + " bytes");
            if (const auto reply = handle(*message))
                surface->send(encoded(*reply), sender, liveTraxSurface::replyPort);
        });
    log("OSC on port " + std::to_string(surface->port()));
}

std::optional<OSCMessage> LiveTraxSim::handle(const OSCMessage &message) {
    if (message.address == liveTraxSurface::transportSpeed)
        return OSCMessage{message.address, {rolling ? 1.0F : 0.0F}};
    if (message.address == liveTraxSurface::recordEnabled)
        return OSCMessage{message.address, {armed ? 1 : 0}};
    if (message.address == liveTraxSurface::isRecording)
        return OSCMessage{message.address, {recording ? 1 : 0}};
    if (message.address == liveTraxSurface::saveState)
        save();
    else if (message.address == liveTraxSurface::addMarker)
        addMarker(message);
    else if (message.address == liveTraxSurface::marker)
        nameMarker(message);
    else
        log("unknown: " + message.address);
    return std::nullopt;
}

void LiveTraxSim::addMarker(const OSCMessage &message) {
    const std::string *name = nameIn(message);
    session.addMarker(playhead(), name != nullptr ? *name : "");
    log("marker");
    if (name != nullptr)
        log("marker is called " + *name);
}

void LiveTraxSim::nameMarker(const OSCMessage &message) {
    const std::string *name = nameIn(message);
    if (name == nullptr)
        return log("/marker without a name");
    if (const auto place = session.markerAt(*name)) {
        log("goes to the marker " + *name);
        return goTo(*place);
    }
    if (session.nameMarker(playhead(), *name))
        log("marker is called " + *name);
    else
        log("no marker under the playhead to be called " + *name);
}

/// The transport stops there; as with older engines, a recording ends with it.
void LiveTraxSim::goTo(double seconds) {
    rolling = recording = armed = false;
    standsAt = seconds;
}

void LiveTraxSim::save() {
    if (behaviour.noSave)
        return log("did not save");
    try {
        session.save();
        log("saved");
    } catch (const std::exception &error) {
        log(std::string("could not save: ") + error.what());
    }
}

double LiveTraxSim::playhead() const {
    const auto blocks = (queue.now() - started) / block;
    return rolling ? std::chrono::duration<double>(blocks * block).count() : standsAt;
}

void LiveTraxSim::terminate(std::function<void()> quit) {
    if (behaviour.ignoreTerminate)
        return log("ignored a request to quit");
    if (std::exchange(quitting, true))
        return;
    log("quitting");
    queue.after(behaviour.slowQuit, std::move(quit));
}

} // namespace corvane
