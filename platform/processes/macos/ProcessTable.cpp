#include "platform/processes/ProcessTable.h"

#include <array>
#include <cstddef>

#include <libproc.h>
#include <sys/proc_info.h>

namespace corvane {

std::optional<ProcessIdentity> livingProcess(pid_t pid) {
    constexpr std::uint32_t zombie = 5; // SZOMB of <sys/proc.h>
    constexpr std::uint64_t microsecondsInASecond = 1'000'000;
    proc_bsdinfo info{};
    const int size = ::proc_pidinfo(pid, PROC_PIDTBSDINFO, 0, &info, sizeof info);
    if (size != static_cast<int>(sizeof info) || info.pbi_status == zombie)
        return std::nullopt;
    return ProcessIdentity{pid, info.pbi_start_tvsec * microsecondsInASecond + info.pbi_start_tvusec};
}

std::vector<pid_t> processNumbers() {
    // More than there are now: programs start all the time.
    constexpr int spare = 64;
    const int expected = ::proc_listallpids(nullptr, 0);
    if (expected <= 0)
        return {};
    std::vector<pid_t> numbers(static_cast<std::size_t>(expected + spare));
    const int found = ::proc_listallpids(numbers.data(), static_cast<int>(numbers.size() * sizeof(pid_t)));
    numbers.resize(found < 0 ? 0 : static_cast<std::size_t>(found));
    return numbers;
}

std::optional<std::filesystem::path> programOf(pid_t pid) {
    std::array<char, PROC_PIDPATHINFO_MAXSIZE> path{};
    if (::proc_pidpath(pid, path.data(), static_cast<std::uint32_t>(path.size())) <= 0)
        return std::nullopt;
    return path.data();
}

} // namespace corvane
