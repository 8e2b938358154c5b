#pragma once

#include "platform/files/StandardFolders.h"

#include <utility>

namespace corvane {

/// The folders of a rehearsal: a folder that stands for a whole machine.
class RehearsalFolders : public StandardFolders {
public:
    /// `root` is absolute, without links and without a slash at its end.
    explicit RehearsalFolders(std::filesystem::path root) : root(std::move(root)) {}

    std::filesystem::path home() const override { return root / "home"; }
    std::filesystem::path applications() const override { return root / "Applications"; }
    std::optional<std::filesystem::path> music() const override;
    std::filesystem::path defaultsFile() const { return home() / ".config/corvane/defaults.json"; }

private:
    std::filesystem::path root;
};

} // namespace corvane
