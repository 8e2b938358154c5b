#pragma once

#include "lv1/LV1Channel.h"

#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace corvane {

/// A channel list that one queue has made and others read.
using LV1ChannelList = std::shared_ptr<const std::vector<LV1Channel>>;

namespace lv1 {

struct Ready {        ///< the TCP connection stands; the console has not accepted it yet
    std::string peer; ///< numeric address of the console
};
struct Introduced {}; ///< the console has been told who this computer is
struct Accepted {};   ///< the console has accepted the handshake
struct Patch {        ///< the console sent its patch
    LV1ChannelList channels;
};
struct Colours { ///< a channel of the last patch has another colour
    LV1ChannelList channels;
};
struct Scene { ///< the console recalled a scene
    std::string name;
};
struct Other {};     ///< the console said something else
struct Closed {};    ///< the console closed the connection
struct Interrupted { ///< reading has come to an end; `Failed` follows
    std::string error;
};
struct Failed { ///< the connection could not be made, or has broken
    std::string error;
};
struct Cancelled {}; ///< the connection was left

} // namespace lv1

/// What an LV1Link tells its client.
using LV1LinkEvent =
    std::variant<lv1::Ready, lv1::Introduced, lv1::Accepted, lv1::Patch, lv1::Colours, lv1::Scene, lv1::Other,
                 lv1::Closed, lv1::Interrupted, lv1::Failed, lv1::Cancelled>;

} // namespace corvane
