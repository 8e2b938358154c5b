#pragma once

#include "osc/OSCValues.h"

#include <string>
#include <string_view>
#include <utility>

namespace corvane {

/// One OSC 1.0 message: an address such as "/Notify/TrackColor" and its arguments in order.
struct OSCMessage {
    // Not an aggregate, whose room for values would be filled with zeros before each use.
    explicit OSCMessage(std::string_view address) : address(address) {}
    OSCMessage(std::string_view address, OSCValues values) : address(address), values(std::move(values)) {}

    std::string address;
    OSCValues values;

    bool operator==(const OSCMessage &) const = default;
};

} // namespace corvane
