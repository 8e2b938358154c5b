#include "fuzz/Fuzzing.h"
#include "osc/OSCCodec.h"

#include <bit>
#include <cmath>
#include <string>
#include <variant>
#include <vector>

using namespace corvane;

namespace {

/// A text that the wire can hold: it ends at its first NUL.
std::string textOf(Choices &choices) {
    auto text = choices.text(40);
    return text.substr(0, text.find('\0'));
}

OSCValue valueOf(Choices &choices) {
    switch (choices.below(5)) {
    case 0:
        return choices.number();
    case 1:
        return static_cast<std::int64_t>(choices.longWord());
    case 2:
        return std::bit_cast<float>(choices.word());
    case 3:
        return textOf(choices);
    default:
        return choices.yes();
    }
}

/// The same value, or an empty text in place of one that is not UTF-8.
bool comesBack(const OSCValue &sent, const OSCValue &read) {
    if (const auto *real = std::get_if<float>(&sent)) {
        const auto *back = std::get_if<float>(&read);
        return back != nullptr && std::bit_cast<std::uint32_t>(*real) == std::bit_cast<std::uint32_t>(*back);
    }
    if (const auto *text = std::get_if<std::string>(&sent)) {
        const auto *back = std::get_if<std::string>(&read);
        return back != nullptr && (*back == *text || back->empty());
    }
    return sent == read;
}

} // namespace

/// Any message, written, framed and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    Choices choices(data, size);
    OSCMessage message{textOf(choices), {}};
    while (!choices.atEnd())
        message.values.push_back(valueOf(choices));

    const auto written = OSCCodec::message(message.address, message.values);
    auto buffer = OSCCodec::frame(written);
    const auto read = OSCCodec::readFrames(buffer);
    require(read.size() == 1 && buffer.empty(), "a framed message is one message");
    require(read[0].address == message.address || read[0].address.empty(), "the address comes back");
    require(read[0].values.size() == message.values.size(), "no value is lost");
    for (std::size_t i = 0; i < message.values.size(); ++i)
        require(comesBack(message.values[i], read[0].values[i]), "each value comes back");
    return 0;
}
