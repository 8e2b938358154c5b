#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace corvane {

/// What is known that decides what the two coloured buttons mean.
struct ButtonFacts {
    enum class Link {
        none,     ///< no console was connected yet
        greeting, ///< one is being connected to, or has not accepted yet
        up,
        lost,
    };
    enum class Comparison {
        none,    ///< the first patch since the start, compared with nothing
        session, ///< the session on disk was read and has the console's patch
        differs, ///< the session on disk was read and has another one
        sync,    ///< an update, or a press that accepted the patch
    };

    Link link = Link::none;
    bool red = true; ///< the colour of SYNC LV1
    bool changesPending = false;
    bool justSynced = false; ///< green although changes are pending: they came while the session was updated
    Comparison comparison = Comparison::none;
    std::optional<std::string> session; ///< the name of the one that SYNC LV1 works on
    bool hostSelected = false;
    bool updateUnderWay = false;
    bool channelsKnown = false; ///< the console has some
    std::size_t channelsForCreate = 0;
};

/// What the colour of SYNC LV1 says, and what a press on it would do now.
std::string connectMeaning(const ButtonFacts &facts);
/// What a press on Create LiveTrax Session would do now.
std::string createMeaning(const ButtonFacts &facts);

} // namespace corvane
