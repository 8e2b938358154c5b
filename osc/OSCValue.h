#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace corvane {

/// One OSC 1.0 argument. The cases, in order: int ("i"), int64 ("h"), float ("f", also read from "d"),
/// string ("s", UTF-8) and bool ("T" or "F").
using OSCValue = std::variant<std::int32_t, std::int64_t, float, std::string, bool>;

} // namespace corvane
