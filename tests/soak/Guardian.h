#pragma once

#include <filesystem>

namespace corvane::soak {

/// A process that waits for the end of this one, however that comes, and then ends whatever still runs from a
/// folder: the recorder lives on its own, as the real one does. Made before any thread is started.
class Guardian {
public:
    explicit Guardian(const std::filesystem::path &folder);
    Guardian(const Guardian &) = delete;
    Guardian &operator=(const Guardian &) = delete;
    /// Returns once nothing runs there any more.
    ~Guardian();

private:
    int process = -1;
    int lifeLine = -1;
};

} // namespace corvane::soak
