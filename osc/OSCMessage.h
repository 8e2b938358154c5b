#pragma once

#include "osc/OSCValue.h"

#include <string>
#include <vector>

namespace corvane {

/// One OSC 1.0 message: an address such as "/Notify/TrackColor" and its arguments in order.
struct OSCMessage {
    std::string address;
    std::vector<OSCValue> values;

    bool operator==(const OSCMessage &) const = default;
};

} // namespace corvane
