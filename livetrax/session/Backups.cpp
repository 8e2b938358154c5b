#include "livetrax/session/Backups.h"

#include "livetrax/session/CalendarTime.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "platform/files/Files.h"

#include <exception>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace corvane {
namespace {

using Path = std::filesystem::path;
using Time = std::chrono::system_clock::time_point;

constexpr std::string_view BACKUP_PREFIX = "Corvane pre-sync ";
constexpr std::string_view BACKUP_EXTENSION = ".ardour";

/// Local time to the millisecond, as "2024-05-01_20-15-03-250".
std::string timestamp(Time time) {
    const auto local = session::CalendarTime::local(time);
    return local.text("%Y-%m-%d_%H-%M-%S-") + local.milliseconds();
}

/// Whether two paths lead to one folder; where the system cannot tell, whether they are written alike.
bool isSameFolder(const Path &left, const Path &right) {
    std::error_code unknown;
    const bool same = std::filesystem::equivalent(left, right, unknown);
    return unknown ? sessionPath(left).lexically_normal() == sessionPath(right).lexically_normal() : same;
}

bool isBackup(const std::filesystem::directory_entry &entry) {
    const std::string name = entry.path().filename().string();
    std::error_code unreadable;
    const auto status = entry.symlink_status(unreadable);
    return session::isBackupName(name) && !unreadable && status.type() == std::filesystem::file_type::regular;
}

/// All pre-sync backups in a folder but the one of that name; none when the folder is not seen whole.
std::vector<Path> otherBackups(const Path &folder, const std::string &kept) {
    std::vector<Path> others;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        if (isBackup(*entry) && entry->path().filename() != kept)
            others.push_back(entry->path());
    return error ? std::vector<Path>() : others;
}

void removeIgnoringErrors(const Path &file) {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
}

} // namespace

bool session::isBackupName(std::string_view name) {
    return name.starts_with(BACKUP_PREFIX) && name.ends_with(BACKUP_EXTENSION);
}

/// A backup that bears that time already (the clock was set back, or summer time has ended) is worth no less:
/// the new one takes the next free millisecond rather than its place.
Path session::makeBackup(const Path &sessionURL, Time now) {
    const Path folder = appending(sessionURL, "backup");
    createFolders(folder);
    const auto copyAt = [&](Time time) {
        return folder / (std::string(BACKUP_PREFIX) + timestamp(time) + std::string(BACKUP_EXTENSION));
    };
    while (fileExists(copyAt(now)))
        now += std::chrono::milliseconds(1);
    copyFile(LiveTraxGenerator::sessionFile(sessionURL), copyAt(now));
    return copyAt(now);
}

void session::removeEqualBackups(const Path &backup) {
    try {
        const Bytes bytes = readFile(backup);
        for (const Path &other : otherBackups(backup.parent_path(), backup.filename().string())) {
            std::error_code unreadable;
            if (std::filesystem::file_size(other, unreadable) == bytes.size() && readFile(other) == bytes)
                removeIgnoringErrors(other);
        }
    } catch (const std::exception &) {
        // One copy too many does no harm.
    }
}

void LiveTraxGenerator::removeOlderBridgeBackups(const Path &folder, const Path &keeping) {
    // Named as the folder's own entry, whatever way the caller wrote the folder.
    const bool keptIsHere = isSameFolder(folder, sessionPath(keeping).parent_path());
    const std::string kept = keptIsHere ? lastPathComponent(keeping) : std::string();
    for (const Path &older : otherBackups(folder, kept))
        removeIgnoringErrors(older);
}

bool hasBackups(const Path &sessionURL) {
    return !otherBackups(appending(sessionURL, "backup"), "").empty();
}

} // namespace corvane
