#pragma once

#include <memory>
#include <optional>
#include <string>

namespace corvane {

/// The user's settings of this application, texts by key. Neither operation throws: what cannot be read is
/// absent, what cannot be written is not kept.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;
    virtual std::optional<std::string> string(const std::string &key) const = 0;
    virtual void set(const std::string &key, const std::string &value) = 0;
};

/// The current user's: a file of theirs on Linux, the domain "app.corvane.Corvane" on macOS.
std::unique_ptr<UserDefaults> makeUserDefaults();

} // namespace corvane
