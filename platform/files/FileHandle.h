#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string_view>

namespace corvane {

/// An open file, closed when let go of, never inherited by started programs.
class FileHandle {
public:
    /// Opens (creating it if missing) for appending; a named pipe is refused at once. Throws FileError.
    static FileHandle openForAppending(const std::filesystem::path &path);
    /// Opens what is there. Throws FileError.
    static FileHandle openForReading(const std::filesystem::path &path);

    /// Takes a descriptor over; `path` only serves the texts of errors.
    explicit FileHandle(int descriptor, std::filesystem::path path = {});
    FileHandle(FileHandle &&other) noexcept;
    FileHandle &operator=(FileHandle &&other) noexcept;
    ~FileHandle();

    /// Writes all of it. Throws FileError.
    void write(std::string_view text) const;
    /// Reads on, up to `room` bytes; 0 at the end of the file. Throws FileError.
    std::size_t read(char *to, std::size_t room) const;
    /// The same at an offset, without moving the place to read and write at.
    std::size_t readAt(std::uint64_t offset, char *to, std::size_t room) const;
    /// Waits until what was written is on disk. Throws FileError.
    void flush() const;
    /// Takes the lock that one open file at a time can have on it, and that ends with this or with the
    /// process, however it ends. False when another has it; a file system without locks gives it to all.
    bool tryLock() const;
    /// Closes it now, to learn of errors that only closing brings to light. Throws FileError.
    void close();
    int fileDescriptor() const { return descriptor; }

private:
    int descriptor;
    std::filesystem::path path;
};

} // namespace corvane
