#pragma once

#include "platform/files/Files.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace corvane {

/// A new folder for one test, gone with everything in it when the test ends.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = std::filesystem::temp_directory_path() / "corvane-test-XXXXXX";
        if (!::mkdtemp(pattern.data()))
            throw std::system_error(errno, std::generic_category(), "mkdtemp");
        root = std::filesystem::canonical(pattern);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }

    const std::filesystem::path &path() const { return root; }
    std::filesystem::path operator/(const std::string &below) const { return appending(root, below); }

    /// Writes a file below the folder, with the folders it needs, and returns its path.
    std::filesystem::path write(const std::string &below, std::string_view content) const {
        std::filesystem::path file = *this / below;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file;
    }

    /// The text of a file below the folder. Throws FileError when there is none.
    std::string read(const std::string &below) const;

    /// How many entries a folder has, hidden ones included.
    static std::ptrdiff_t entries(const std::filesystem::path &folder) {
        return std::distance(std::filesystem::directory_iterator(folder),
                             std::filesystem::directory_iterator());
    }

private:
    std::filesystem::path root;
};

/// The whole file as text; the test fails by the exception when it cannot be read.
inline std::string textOf(const std::filesystem::path &file) {
    const Bytes bytes = readFile(file);
    return {bytes.begin(), bytes.end()};
}

inline std::string TemporaryFolder::read(const std::string &below) const {
    return textOf(*this / below);
}

} // namespace corvane
