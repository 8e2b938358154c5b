#pragma once

#include "platform/files/StandardFolders.h"

#include <string>
#include <vector>

namespace corvane {

/// Resources that are looked for in a few folders, the first that has one wins.
class FolderResources : public BundleResources {
public:
    explicit FolderResources(std::vector<std::filesystem::path> folders);

    /// Where the resources of a program may be: in its bundle (macOS), installed in ../share/corvane, or in
    /// the build tree's resources/.
    static std::vector<std::filesystem::path> foldersOf(const std::filesystem::path &program);

    std::optional<std::filesystem::path> find(const std::string &name,
                                              const std::string &extension) const override;

private:
    std::vector<std::filesystem::path> folders;
};

/// The file that this process runs, links resolved; empty when the system does not tell.
std::filesystem::path programPath();

} // namespace corvane
