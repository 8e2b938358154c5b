#pragma once

#include <filesystem>
#include <system_error>

namespace corvane {

/// Makes a folder this process's working folder until the test ends.
class WorkingFolder {
public:
    explicit WorkingFolder(const std::filesystem::path &folder) { std::filesystem::current_path(folder); }
    WorkingFolder(const WorkingFolder &) = delete;
    WorkingFolder &operator=(const WorkingFolder &) = delete;
    ~WorkingFolder() {
        std::error_code ignored;
        std::filesystem::current_path(before, ignored);
    }

private:
    std::filesystem::path before = std::filesystem::current_path();
};

} // namespace corvane
