#pragma once

#include "osc/OSCCodec.h"

#include <cstdint>
#include <string>
#include <vector>

namespace corvane {

/// A console's patch as it comes over the wire, of so many channels: a count, then seven values a channel.
inline OSCMessage patchMessage(int channels) {
    OSCMessage message{"/Notify/IOConnections", {channels}};
    for (int i = 0; i < channels; ++i) {
        const auto number = std::to_string(i + 1);
        for (const OSCValue &value :
             {OSCValue("Channel " + number), OSCValue(i % 8 == 0 ? 1 : 0), OSCValue("SoundGrid 1"),
              OSCValue(i), OSCValue("Mixer_Ch"), OSCValue(i + 1), OSCValue(0)})
            message.values.push_back(value);
    }
    return message;
}

inline OSCMessage pingMessage() {
    return {"/ping", {1, 2}};
}

inline OSCMessage colourMessage(int index = 7) {
    return {"/Notify/TrackColor", {0, index, 0, 0.25F, 0.5F, 0.75F}};
}

inline OSCCodec::Bytes encoded(const OSCMessage &message) {
    return OSCCodec::message(message.address, message.values);
}

} // namespace corvane
