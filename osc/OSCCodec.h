#pragma once

#include "osc/OSCMessage.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace corvane {

/// Turns OSC 1.0 messages into bytes and back. A subset: single messages, no bundles; the arguments of
/// OSCValue. All numbers on the wire are big-endian. Pure functions: callable from any thread.
class OSCCodec {
public:
    using Bytes = std::vector<std::uint8_t>;
    using ByteView = std::span<const std::uint8_t>;

    /// The console's TCP stream, in bytes.
    static constexpr std::size_t frameHeaderSize = 12;
    static constexpr std::uint32_t longestPayload = 1'999'999;

    OSCCodec() = delete;

    /// Encodes one bare message. A text that is not valid UTF-8 is written as the empty text.
    static Bytes message(std::string_view address, std::span<const OSCValue> values = {});
    static Bytes message(std::string_view address, std::initializer_list<OSCValue> values) {
        return message(address, std::span<const OSCValue>(values.begin(), values.size()));
    }
    /// The OSC string form: UTF-8, then one to four NULs up to a multiple of four bytes.
    static Bytes paddedString(std::string_view text);
    static Bytes int32(std::int32_t value);
    static Bytes uint32(std::uint32_t value);
    /// Wraps a message for the console's TCP stream: a 12-byte header (length, 2, 0), then the payload.
    static Bytes frame(ByteView payload);

    /// Removes every complete frame from the front of `buffer` and returns the messages that parse, in stream
    /// order. A header with length 0 or above 1,999,999 stays at the front for good: nothing behind it can be
    /// read. The cost grows with the bytes in the buffer, not with the number of frames. `frames`, when
    /// given, is set to the number of frames removed, including those that do not parse.
    static std::vector<OSCMessage> readFrames(Bytes &buffer, std::size_t *frames = nullptr);
    /// Whether a buffer begins with a header whose length readFrames refuses.
    static bool isRefused(ByteView buffer);
    /// Decodes one bare message; none when it is malformed or has a type tag outside "ihfdsTF". A text that
    /// is not valid UTF-8 reads as the empty text.
    static std::optional<OSCMessage> parse(ByteView bytes);
};

} // namespace corvane
