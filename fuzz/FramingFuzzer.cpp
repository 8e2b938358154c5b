#include "fuzz/Fuzzing.h"
#include "osc/OSCCodec.h"

#include <utility>
#include <vector>

using namespace corvane;

namespace {

OSCCodec::Bytes written(const std::vector<OSCMessage> &messages) {
    OSCCodec::Bytes all;
    for (const auto &message : messages) {
        const auto bytes = OSCCodec::message(message.address, message.values);
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

} // namespace

/// A stream at once and in pieces: the messages and what is left are the same. The first bytes choose the
/// sizes of the pieces.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    Choices sizes(data, std::min<std::size_t>(size, 8));
    const OSCCodec::Bytes stream(data + std::min<std::size_t>(size, 8), data + size);

    auto atOnce = stream;
    const auto expected = OSCCodec::readFrames(atOnce);
    require(atOnce.size() <= stream.size(), "nothing is added");

    OSCCodec::Bytes buffer;
    std::vector<OSCMessage> messages;
    for (std::size_t at = 0; at < stream.size();) {
        if (sizes.atEnd())
            sizes = Choices(data, std::min<std::size_t>(size, 8));
        const auto count = std::min<std::size_t>(1 + sizes.byte(), stream.size() - at);
        buffer.insert(buffer.end(), stream.begin() + static_cast<std::ptrdiff_t>(at),
                      stream.begin() + static_cast<std::ptrdiff_t>(at + count));
        at += count;
        for (auto &message : OSCCodec::readFrames(buffer))
            messages.push_back(std::move(message));
    }
    require(messages.size() == expected.size(), "as many messages in pieces as at once");
    require(written(messages) == written(expected), "the same messages in pieces as at once");
    require(buffer == atOnce, "the same rest in pieces as at once");
    require(OSCCodec::readFrames(buffer).empty() && buffer == atOnce, "another look finds nothing new");
    return 0;
}
