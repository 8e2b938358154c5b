#pragma once

#include "lv1/LV1Counters.h"
#include "lv1/LV1LinkEvent.h"
#include "osc/OSCMessage.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace corvane {

/// What a console has said on one link: its channels and its colours. Turns its messages into events; what is
/// malformed is ignored and counted. Belongs to "Corvane.Network".
class LV1Notifications {
public:
    /// What the message tells; none when that is nothing or nothing new. A patch with a negative number of
    /// channels stops the program.
    std::optional<LV1LinkEvent> read(OSCMessage message, LV1Counters::Traffic &traffic);

    /// The memory that a copy of the channel list takes, about, in bytes.
    std::size_t channelMemory() const { return channelBytes; }

private:
    struct Colour {
        float red;
        float green;
        float blue;
    };

    std::optional<LV1LinkEvent> readPatch(std::span<OSCValue> values, LV1Counters::Traffic &traffic);
    std::optional<LV1LinkEvent> readColour(std::span<const OSCValue> values, LV1Counters::Traffic &traffic);
    std::optional<LV1Channel> channel(OSCValue *record) const;

    /// The last patch, with colours applied.
    std::vector<LV1Channel> channels;
    std::size_t channelBytes = 0;
    /// Every colour reported, by group and zero-based index ("0:12").
    std::unordered_map<std::string, Colour> colors;
};

} // namespace corvane
