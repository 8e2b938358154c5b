#pragma once

#include <filesystem>

namespace corvane {

/// The current user's home: $HOME, else what the user database says. Absolute, without a slash at its end.
std::filesystem::path homeFolder();

} // namespace corvane
