#include "lv1/LV1MulticastDiscovery.h"

#include "lv1/LV1Surface.h"
#include "osc/OSCCodec.h"

#include <cstddef>
#include <utility>
#include <variant>

namespace corvane {

namespace {

constexpr const char *group = "225.1.1.1";
constexpr std::size_t longestDatagram = 4'096;
constexpr const char *announcementAddress = "/zDNS";
constexpr const char *announcedService = "_waveslv113._tcp";
constexpr std::size_t announcementValues = 13;
constexpr std::int32_t highestPort = 65'535;
/// Many times what real hosts announce while the main queue does something else, and a bound for a flood.
constexpr std::size_t mostQueued = 256;

} // namespace

LV1MulticastDiscovery::LV1MulticastDiscovery(SerialQueue &main, std::shared_ptr<SerialQueue> queue,
                                             MulticastListening &listening)
    : main(main), queue(std::move(queue)), listening(listening) {}

void LV1MulticastDiscovery::start() {
    stop();
    const auto heard = [&main = main, queue = queue, hearing = hearing,
                        discovery = weak_from_this()](const Bytes &datagram) {
        auto endpoint = announcement(datagram);
        const bool hasRoom = hearing->queued < mostQueued;
        auto &counted = hearing->counted;
        ++(!endpoint ? counted.refused : hasRoom ? counted.heard : counted.dropped);
        if (!endpoint || !hasRoom)
            return;
        ++hearing->queued;
        main.post([queue, hearing, discovery, endpoint = std::move(*endpoint)] {
            if (const auto listener = discovery.lock())
                listener->announce(endpoint);
            queue->post([hearing] { --hearing->queued; });
        });
    };
    auto opened = listening.open(group, lv1Surface::announcementPort, longestDatagram, queue, heard);
    socket = std::move(opened.socket);
    errorText = socket ? "" : std::move(opened.error);
}

void LV1MulticastDiscovery::count(std::function<void(const LV1Counters::Announcements &)> told) const {
    queue->post([hearing = hearing, told = std::move(told)] { told(hearing->counted); });
}

void LV1MulticastDiscovery::announce(const LV1Endpoint &endpoint) const {
    // Stopped while this was on its way: nothing is announced any more.
    if (socket && onEndpoint)
        onEndpoint(endpoint);
}

void LV1MulticastDiscovery::stop() {
    if (socket)
        socket->cancel();
    socket.reset();
}

std::optional<LV1Endpoint> LV1MulticastDiscovery::announcement(const Bytes &datagram) {
    const auto message = OSCCodec::parse(datagram);
    if (!message || message->address != announcementAddress || message->values.size() < announcementValues)
        return std::nullopt;
    const auto &values = message->values;
    const auto *service = std::get_if<std::string>(&values[0]);
    const auto *name = std::get_if<std::string>(&values[3]);
    const auto *port = std::get_if<std::int32_t>(&values[4]);
    const auto *host = std::get_if<std::string>(&values[8]);
    const auto *mac = std::get_if<std::string>(&values[12]);
    if (!service || !name || !port || !host || !mac)
        return std::nullopt;
    if (*service != announcedService || *port < 1 || *port > highestPort || host->empty())
        return std::nullopt;
    return LV1Endpoint{*name, *host, static_cast<std::uint16_t>(*port), *mac};
}

} // namespace corvane
