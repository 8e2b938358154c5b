#pragma once

#include <string>

namespace corvane {

/// How a coloured button looks: the colour of its bezel, components 0 to 1, and of its text.
struct ButtonLook {
    enum class Tint { white, black };

    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    Tint tint = Tint::white;

    bool operator==(const ButtonLook &) const = default;
};

/// The link is down, or nothing is known yet.
inline constexpr ButtonLook redLook{0.88, 0.04, 0.04, 1.0, ButtonLook::Tint::white};
/// The console's patch has not changed since the last sync; the first one after launch counts as synced.
inline constexpr ButtonLook greenLook{0.1, 0.68, 0.25, 1.0, ButtonLook::Tint::white};
/// The console's patch has changed since.
inline constexpr ButtonLook amberLook{0.95, 0.65, 0.05, 1.0, ButtonLook::Tint::black};

} // namespace corvane
