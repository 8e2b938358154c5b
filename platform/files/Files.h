#pragma once

#include "base/Bytes.h"

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace corvane {

class FileHandle;

/// A file operation that failed. The text names the file and the system's reason, for the user to read.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;

    /// "The file “path” could not be `what`: reason." for an error number of the system.
    static FileError cannot(const std::string &what, const std::filesystem::path &path, int errorNumber);
};

/// The whole file. Throws FileError.
Bytes readFile(const std::filesystem::path &path);

/// Puts `bytes` in place of the file in one step: a temporary file in the same folder, flushed to disk,
/// renamed over it, the folder flushed. Mode and owner of an existing file are kept (the owner as far as the
/// system lets us), a link is followed to the file it names. Throws FileError. After any throw the old file
/// stands as it was and no temporary file is left.
void replaceFileAtomically(const std::filesystem::path &path, std::string_view bytes);

/// The same with what `write` writes to the temporary file. `check` then reads that file (by offset) on a
/// thread of its own while it is flushed; what either throws is passed on.
void replaceFileAtomically(const std::filesystem::path &path,
                           const std::function<void(const FileHandle &file)> &write,
                           const std::function<void(const FileHandle &file)> &check);

/// Copies a file to a place where none is yet, flushed to disk. Throws FileError, and then nothing is left
/// there.
void copyFile(const std::filesystem::path &from, const std::filesystem::path &to);

/// Creates a folder and those above it; fine when it is there. Throws FileError.
void createFolders(const std::filesystem::path &path);

/// Whether something exists there (links are followed). Never throws.
bool fileExists(const std::filesystem::path &path);

/// `folder` with `component` below it, whatever the component holds (it is never taken as an absolute path).
/// Slashes at the component's ends are dropped.
std::filesystem::path appending(const std::filesystem::path &folder, std::string_view component);

/// The path without slashes at its end; "/" stays.
std::filesystem::path withoutTrailingSlashes(const std::filesystem::path &path);

/// The last component of a path, with or without slashes at its end: "Show" of "/a/Show/".
std::string lastPathComponent(const std::filesystem::path &path);

} // namespace corvane
