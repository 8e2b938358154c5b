#include "platform/host/HostInformation.h"

#include <array>
#include <cstddef>
#include <random>

namespace corvane {
namespace {

void appendHexadecimal(std::string &text, std::uint8_t byte) {
    constexpr const char *digits = "0123456789abcdef";
    text += digits[byte >> 4U];
    text += digits[byte & 0x0FU];
}

} // namespace

std::string makeRandomUUID() {
    std::array<std::uint8_t, 16> bytes{};
    std::random_device system;
    for (std::uint8_t &byte : bytes)
        byte = static_cast<std::uint8_t>(system() & 0xFFU);
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0FU) | 0x40U); // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3FU) | 0x80U); // the variant of RFC 4122
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            text += '-';
        appendHexadecimal(text, bytes[i]);
    }
    return text;
}

std::string ethernetAddressText(const std::uint8_t *bytes) {
    std::string text;
    for (std::size_t i = 0; i < 6; ++i) {
        if (i > 0)
            text += ':';
        appendHexadecimal(text, bytes[i]);
    }
    return text;
}

} // namespace corvane
