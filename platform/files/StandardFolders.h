#pragma once

#include <filesystem>
#include <optional>

namespace corvane {

/// Where things are on this machine, or in a rehearsal's folder that stands for one.
class StandardFolders {
public:
    virtual ~StandardFolders() = default;
    virtual std::filesystem::path home() const = 0;
    /// Where LiveTrax is installed: "/Applications" outside a rehearsal.
    virtual std::filesystem::path applications() const = 0;
    /// The user's music folder; none when the system names none.
    virtual std::optional<std::filesystem::path> music() const = 0;
};

/// The files that ship with the program.
class BundleResources {
public:
    virtual ~BundleResources() = default;
    /// The path of the resource `name`.`extension`; none when it is missing.
    virtual std::optional<std::filesystem::path> find(const std::string &name,
                                                      const std::string &extension) const = 0;
};

} // namespace corvane
