#pragma once

#include "platform/files/StandardFolders.h"

namespace corvane {

/// The current user's folders as the XDG user-dirs convention has them.
class UserFolders : public StandardFolders {
public:
    std::filesystem::path home() const override;
    std::filesystem::path applications() const override { return "/Applications"; }
    /// What user-dirs.dirs names, else ~/Music; only a folder that is there.
    std::optional<std::filesystem::path> music() const override;
    /// $XDG_CONFIG_HOME, else ~/.config.
    std::filesystem::path configuration() const;
};

} // namespace corvane
