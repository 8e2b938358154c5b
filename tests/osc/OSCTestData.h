#pragma once

#include "osc/OSCCodec.h"

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace corvane {

using OSCBytes = OSCCodec::Bytes;

/// The bytes of a text, which may hold NULs: raw("/a\0\0").
template <std::size_t size>
OSCBytes raw(const char (&text)[size]) {
    return OSCBytes(text, text + size - 1);
}

inline OSCBytes operator+(OSCBytes left, const OSCBytes &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline OSCBytes firstBytes(const OSCBytes &bytes, std::size_t count) {
    return OSCBytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
}

/// A frame header that claims `length` bytes, whatever follows.
inline OSCBytes header(std::uint32_t length) {
    return OSCCodec::uint32(length) + raw("\0\0\0\2\0\0\0\0");
}

inline void PrintTo(const OSCMessage &message, std::ostream *out) {
    *out << message.address << " with " << message.values.size() << " values";
}

} // namespace corvane
