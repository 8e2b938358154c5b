#pragma once

#include <string>

namespace corvane {

/// How a coloured button looks: the colour of its bezel, components 0 to 1, and of its text, and the shape
/// beside the text that says the same to those who cannot tell the colours apart.
struct ButtonLook {
    enum class Tint { white, black };
    enum class Symbol { none, check, triangle, cross };

    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    Tint tint = Tint::white;
    Symbol symbol = Symbol::none;

    bool operator==(const ButtonLook &) const = default;
};

/// The link is down, or nothing is known yet.
inline constexpr ButtonLook redLook{
    0.88, 0.04, 0.04, 1.0, ButtonLook::Tint::white, ButtonLook::Symbol::cross};
/// The console's patch has not changed since the last sync; the first one after launch counts as synced.
inline constexpr ButtonLook greenLook{
    0.1, 0.68, 0.25, 1.0, ButtonLook::Tint::white, ButtonLook::Symbol::check};
/// The console's patch has changed since.
inline constexpr ButtonLook amberLook{
    0.95, 0.65, 0.05, 1.0, ButtonLook::Tint::black, ButtonLook::Symbol::triangle};
/// The create button's, which says nothing of a state.
inline constexpr ButtonLook createLook{0.88, 0.04, 0.04, 1.0, ButtonLook::Tint::white};

} // namespace corvane
