#pragma once

#include "lv1/LV1Counters.h"
#include "lv1/LV1Endpoint.h"
#include "platform/net/MulticastListening.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace corvane {

/// Listens for consoles that announce themselves: one "/zDNS" OSC message per datagram to 225.1.1.1, port
/// 13337. Started and stopped on the main queue; datagrams are read on its own queue, "Corvane.Discovery".
/// While 256 announcements wait for the main queue further ones are dropped: hosts repeat themselves.
class LV1MulticastDiscovery : public std::enable_shared_from_this<LV1MulticastDiscovery> {
public:
    LV1MulticastDiscovery(SerialQueue &main, std::shared_ptr<SerialQueue> queue,
                          MulticastListening &listening);

    /// Called on the main queue for each valid announcement.
    std::function<void(const LV1Endpoint &)> onEndpoint;

    /// Starts or restarts listening. Throws nothing: when the socket cannot be opened, nothing is heard.
    void start();
    void stop();
    /// Calls `told` on "Corvane.Discovery" with what was counted since this was made. Any thread.
    void count(std::function<void(const LV1Counters::Announcements &)> told) const;
    /// Why announcements cannot be heard now, which an interface that comes may mend; else empty.
    std::string error() const { return socket ? socket->error() : errorText; }

    /// The endpoint that a datagram announces; none when it is anything else.
    static std::optional<LV1Endpoint> announcement(const Bytes &datagram);

private:
    /// Belongs to "Corvane.Discovery".
    struct Hearing {
        std::size_t queued = 0; ///< announcements on their way to the main queue
        LV1Counters::Announcements counted;
    };

    void announce(const LV1Endpoint &endpoint) const;

    SerialQueue &main;
    std::shared_ptr<SerialQueue> queue;
    MulticastListening &listening;
    std::shared_ptr<Hearing> hearing = std::make_shared<Hearing>();
    std::unique_ptr<MulticastSocket> socket;
    std::string errorText; ///< why there is no socket
};

} // namespace corvane
