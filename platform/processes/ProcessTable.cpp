#include "platform/processes/ProcessTable.h"

#include <algorithm>
#include <functional>
#include <string>
#include <system_error>

namespace corvane {
namespace {

namespace fs = std::filesystem;

/// The path with its links resolved; of a file that is gone, those of its folder.
fs::path resolved(const fs::path &path) {
    std::error_code error;
    fs::path result = fs::weakly_canonical(path, error);
    return error ? path : result;
}

std::vector<ProcessIdentity> processesWhoseProgram(const std::function<bool(const fs::path &)> &fits) {
    std::vector<ProcessIdentity> found;
    for (const pid_t pid : processNumbers()) {
        const auto program = programOf(pid);
        if (!program || !fits(*program))
            continue;
        if (const auto identity = livingProcess(pid))
            found.push_back(*identity);
    }
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace

std::vector<ProcessIdentity> processesRunning(const fs::path &program) {
    const fs::path wanted = resolved(program);
    return processesWhoseProgram([&](const fs::path &running) { return running == wanted; });
}

std::vector<ProcessIdentity> processesRunningBelow(const fs::path &folder) {
    const std::string start = resolved(folder).string() + "/";
    return processesWhoseProgram(
        [&](const fs::path &running) { return running.string().starts_with(start); });
}

} // namespace corvane
