#include "platform/processes/ProcessTable.h"

#include "base/Text.h"
#include "platform/files/Files.h"

#include <array>
#include <climits>
#include <sstream>
#include <string_view>
#include <system_error>

#include <unistd.h>

namespace corvane {
namespace {

namespace fs = std::filesystem;

fs::path processFolder(pid_t pid) {
    return fs::path("/proc") / std::to_string(pid);
}

bool sameFile(const fs::path &left, const fs::path &right) {
    std::error_code error;
    return fs::equivalent(left, right, error) && !error;
}

} // namespace

std::optional<ProcessIdentity> livingProcess(pid_t pid) {
    Bytes bytes;
    try {
        bytes = readFile(processFolder(pid) / "stat");
    } catch (const FileError &) {
        if (fileExists(processFolder(pid)))
            throw; // it lives, we are out of descriptors
        return std::nullopt;
    }
    // "4711 (any name, with blanks or brackets) S 1 …": the name ends at the last bracket.
    const std::string text(bytes.begin(), bytes.end());
    const auto end = text.rfind(')');
    if (end == std::string::npos)
        return std::nullopt;
    std::istringstream fields(text.substr(end + 1));
    std::string state;
    fields >> state;
    constexpr int fieldsBetweenStateAndStartTime = 18;
    std::string field;
    for (int i = 0; i < fieldsBetweenStateAndStartTime; ++i)
        fields >> field;
    std::uint64_t startTime = 0;
    if (!(fields >> startTime) || state == "Z" || state == "X")
        return std::nullopt;
    return ProcessIdentity{pid, startTime};
}

std::vector<pid_t> processNumbers() {
    std::vector<pid_t> numbers;
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        if (const auto number = integer(entry->path().filename().string()))
            numbers.push_back(static_cast<pid_t>(*number));
    }
    return numbers;
}

std::optional<fs::path> programOf(pid_t pid) {
    constexpr std::string_view deleted = " (deleted)";
    const fs::path link = processFolder(pid) / "exe";
    // Asked of every process there is: std::filesystem would ask the system twice.
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
    if (length < 0)
        return std::nullopt;
    const std::string text(target.data(), static_cast<std::size_t>(length));
    // A file may really be called so.
    if (!text.ends_with(deleted) || sameFile(link, text))
        return text;
    return text.substr(0, text.size() - deleted.size());
}

} // namespace corvane
