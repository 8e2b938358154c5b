#include "fuzz/Fuzzing.h"
#include "osc/OSCCodec.h"

using namespace corvane;

/// Any bytes as one message. What was read, written again and read again is the same (compared as bytes: a
/// float may be no number).
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto message = OSCCodec::parse({data, size});
    if (!message)
        return 0;
    const auto written = OSCCodec::message(message->address, message->values);
    require(written.size() % 4 == 0, "a message is a multiple of four bytes");
    const auto again = OSCCodec::parse(written);
    require(again.has_value(), "what was written can be read");
    require(again->values.size() == message->values.size(), "no value is lost");
    require(OSCCodec::message(again->address, again->values) == written, "what was read again is the same");
    return 0;
}
