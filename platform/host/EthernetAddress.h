#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace corvane {

/// Six bytes as "0a:1b:2c:3d:4e:5f".
inline std::string ethernetAddressText(const std::uint8_t *bytes) {
    constexpr const char *digits = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < 6; ++i) {
        if (i > 0)
            text += ':';
        text += digits[bytes[i] >> 4U];
        text += digits[bytes[i] & 0x0FU];
    }
    return text;
}

} // namespace corvane
