#include "fuzz/Fuzzing.h"
#include "lv1/LV1MulticastDiscovery.h"
#include "osc/OSCCodec.h"

using namespace corvane;

/// Any datagram of the discovery group. What is announced was a message, and reads the same twice.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const Bytes datagram(data, data + size);
    const auto endpoint = LV1MulticastDiscovery::announcement(datagram);
    require(endpoint == LV1MulticastDiscovery::announcement(datagram), "an announcement has one meaning");
    if (endpoint) {
        const auto message = OSCCodec::parse(datagram);
        require(message && message->address == "/zDNS", "only announcements announce");
    }
    return 0;
}
