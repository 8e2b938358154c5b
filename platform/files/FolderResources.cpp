#include "platform/files/FolderResources.h"

#include "platform/files/Files.h"

#include <utility>

namespace corvane {

using Path = std::filesystem::path;

FolderResources::FolderResources(std::vector<Path> folders) : folders(std::move(folders)) {}

std::vector<Path> FolderResources::foldersOf(const Path &program) {
    const Path above = program.parent_path().parent_path();
    if (above.filename() == "Contents")
        return {above / "Resources"};
    return {above / "share" / "corvane", above / "resources"};
}

std::optional<Path> FolderResources::find(const std::string &name, const std::string &extension) const {
    const std::string fileName = name + "." + extension;
    for (const Path &folder : folders) {
        Path file = appending(folder, fileName);
        if (fileExists(file))
            return file;
    }
    return std::nullopt;
}

} // namespace corvane
