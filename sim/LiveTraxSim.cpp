#include "sim/LiveTraxSim.h"

#include "osc/OSCCodec.h"
#include "platform/files/Files.h"

#include <bit>
#include <chrono>
#include <exception>
#include <utility>
#include <variant>

namespace corvane {
namespace {

constexpr std::uint16_t surfacePort = 3819;
/// Replies go here at the sender's address, whatever port the question came from.
constexpr std::uint16_t replyPort = 8000;

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
      session(openedOrMade(commandLine, preferences)) {
    prependToRecent(preferences, commandLine.folder);
    this->log((commandLine.templateName ? "created " : "opened ") + commandLine.folder.string());
}

void LiveTraxSim::openSurface(const std::shared_ptr<AsioContext> &context) {
    if (behaviour.deaf)
        return;
    surface = std::make_unique<SurfaceSocket>(
        context, queue, surfacePort, [this](const Bytes &datagram, const std::string &sender) {
            const auto message = OSCCodec::parse(datagram);
            if (!message)
                return log("not an OSC message: " + std::to_string(datagram.size()) + " bytes");
            if (const auto reply = handle(*message))
                surface->send(encoded(*reply), sender, replyPort);
        });
    log("OSC on port " + std::to_string(surface->port()));
}

std::optional<OSCMessage> LiveTraxSim::handle(const OSCMessage &message) {
    if (message.address == "/transport_speed")
        return OSCMessage{message.address, {behaviour.rolling ? 1.0F : 0.0F}};
    if (message.address == "/record_enabled")
        return OSCMessage{message.address, {behaviour.armed ? 1 : 0}};
    if (message.address == "/is_recording")
        return OSCMessage{message.address, {behaviour.recording ? 1 : 0}};
    if (message.address == "/save_state") {
        save();
    } else if (message.address == "/add_marker") {
        session.addMarker(playhead());
        log("marker");
    } else if (message.address == "/marker") {
        const auto *name =
            message.values.empty() ? nullptr : std::get_if<std::string>(&message.values.front());
        if (name == nullptr) {
            log("/marker without a name");
        } else {
            session.nameMarker(*name);
            log("marker is called " + *name);
        }
    } else {
        log("unknown: " + message.address);
    }
    return std::nullopt;
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
    return behaviour.rolling ? std::chrono::duration<double>(queue.now() - started).count() : 0;
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
