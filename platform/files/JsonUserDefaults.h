#pragma once

#include "platform/files/UserDefaults.h"

#include <chrono>
#include <filesystem>

namespace corvane {

/// User defaults in a file that holds one JSON object of texts. May be used from any queue and by several
/// programs at once: it keeps nothing in memory, and a change is made under a lock to what the file holds at
/// that moment.
class JsonUserDefaults : public UserDefaults {
public:
    /// Where the file is below a user's folder for settings.
    static std::filesystem::path fileIn(const std::filesystem::path &configuration) {
        return configuration / "corvane/defaults.json";
    }

    /// A change takes milliseconds. Who holds the lock for longer is stopped or stuck, and must not hold up
    /// this program as well: the change is then made without it.
    static constexpr std::chrono::milliseconds lockTimeout{1'000};

    explicit JsonUserDefaults(std::filesystem::path file, std::chrono::milliseconds timeout = lockTimeout);

    std::optional<std::string> string(const std::string &key) const override;
    /// A file that is not a JSON object is kept under a name of its own before a new one is written.
    void set(const std::string &key, const std::string &value) override;

private:
    std::filesystem::path file;
    std::chrono::milliseconds timeout; ///< of the lock
};

} // namespace corvane
