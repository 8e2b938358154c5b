#include "livetrax/session/HistoryFolder.h"

#include "base/Text.h"
#include "livetrax/session/Backups.h"
#include "livetrax/session/CalendarTime.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "platform/files/Files.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <system_error>
#include <utility>

namespace corvane::session {

namespace {

using Path = std::filesystem::path;
using Time = std::chrono::system_clock::time_point;
using Json = nlohmann::ordered_json;
using Strings = std::vector<std::string>;

constexpr auto identityFile = "session.json";
constexpr auto extension = ".ardour";
/// How many names of a session's backups are remembered to recognise it by. Usually only the latest is still
/// in its backup folder; an older one is when the whole session folder was restored from elsewhere.
constexpr std::size_t mostBackups = 1000;

/// A JSON file's object; an empty one when it cannot be read.
Json readObject(const Path &file) {
    try {
        if (Json object = Json::parse(readFile(file)); object.is_object())
            return object;
    } catch (const std::exception &) {
        // The same as an empty one.
    }
    return Json::object();
}

void writeObject(const Path &file, const Json &object) {
    replaceFileAtomically(file, object.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

std::string text(const Json &object, const char *key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::int64_t number(const Json &object, const char *key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_number_integer() ? found->get<std::int64_t>() : 0;
}

Strings texts(const Json &object, const char *key) {
    Strings found;
    if (const auto list = object.find(key); list != object.end() && list->is_array())
        for (const Json &each : *list)
            if (each.is_string())
                found.push_back(each.get<std::string>());
    return found;
}

/// The entries of a folder in the order of their names; none when it cannot be read.
std::vector<Path> entries(const Path &folder) {
    std::vector<Path> found;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        found.push_back(entry->path());
    std::sort(found.begin(), found.end());
    return found;
}

// Which folder is a session's

/// What a folder knows of the session whose copies it holds.
struct Owner {
    Path folder;
    std::string path;
    Strings backups; ///< names of files in the session's backup folder, oldest first

    void add(const std::string &backup) {
        backups.push_back(backup);
        if (backups.size() > mostBackups)
            backups.erase(backups.begin());
    }

    bool knowsAny(const Strings &held) const {
        return std::any_of(held.begin(), held.end(), [&](const std::string &name) {
            return std::find(backups.begin(), backups.end(), name) != backups.end();
        });
    }
};

std::vector<Owner> owners(const Path &top) {
    std::vector<Owner> found;
    for (const Path &folder : entries(top))
        if (const Json object = readObject(folder / identityFile); !object.empty())
            found.push_back({folder, text(object, "path"), texts(object, "backups")});
    return found;
}

void write(const Owner &owner) {
    writeObject(owner.folder / identityFile,
                {{"version", 1}, {"path", owner.path}, {"backups", owner.backups}});
}

/// The path by which a session is known, whatever links lead to it.
std::string knownPath(const Path &sessionURL) {
    std::error_code unknown;
    const Path path = std::filesystem::weakly_canonical(sessionPath(sessionURL), unknown);
    return withoutTrailingSlashes(unknown ? sessionPath(sessionURL) : path).string();
}

/// The pre-sync backups in a session's own folder, by their names.
Strings heldBackups(const Path &sessionURL, const std::string &except = {}) {
    Strings held;
    for (const Path &file : entries(sessionURL / "backup"))
        if (isBackupName(file.filename().string()) && file.filename() != except)
            held.push_back(file.filename().string());
    return held;
}

/// A session keeps its folder at its path, unless the backups that are there now are none of its own.
/// Elsewhere it is known by its backups: it was moved when its old path holds none of them any more, and
/// copied when it does.
const Owner *ownerOf(const std::vector<Owner> &all, const Path &sessionURL, const std::string &newBackup) {
    const std::string here = knownPath(sessionURL);
    const Strings held = heldBackups(sessionURL, newBackup);
    const auto at = std::find_if(all.begin(), all.end(), [&](const Owner &owner) {
        return owner.path == here && (held.empty() || owner.knowsAny(held));
    });
    if (at != all.end())
        return &*at;
    const auto moved = std::find_if(all.begin(), all.end(), [&](const Owner &owner) {
        return owner.path != here && owner.knowsAny(held) &&
               (owner.path.empty() || !owner.knowsAny(heldBackups(owner.path)));
    });
    return moved == all.end() ? nullptr : &*moved;
}

/// Takes a path from all folders but one.
void releasePath(const std::vector<Owner> &all, const std::string &path, const Path &keeper) {
    for (Owner owner : all) {
        if (owner.path == path && owner.folder != keeper) {
            owner.path.clear();
            write(owner);
        }
    }
}

/// A new folder that bears the session's name, as far as a folder's name can be.
Path newFolder(const Path &top, const Path &sessionURL) {
    constexpr std::size_t longest = 100;
    std::string name = lastPathComponent(sessionURL);
    if (name.size() > longest) {
        std::size_t end = longest;
        // Not in the middle of a letter, which has four bytes at most.
        while (end > longest - 3 && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80U)
            --end;
        name.erase(end);
    }
    Path folder = appending(top, name);
    for (int next = 2; fileExists(folder); ++next)
        folder = appending(top, name + " " + std::to_string(next));
    createFolders(folder);
    return folder;
}

// The copies in a folder

/// "000012 2026-01-31T18-04-05-250Z": the order in which copies were made, whatever the clock said, and its
/// time.
std::string copyName(std::uint64_t sequence, Time time) {
    const auto utc = CalendarTime::utc(time);
    std::array<char, 32> number{};
    std::snprintf(number.data(), number.size(), "%06llu", static_cast<unsigned long long>(sequence));
    return number.data() + utc.text(" %Y-%m-%dT%H-%M-%S-") + utc.milliseconds() + "Z";
}

/// The time in such a name, behind its blank: "2026-01-31T18-04-05-250Z".
std::optional<Time> timeIn(std::string_view name) {
    using namespace std::chrono;
    constexpr std::string_view shape = "0000-00-00T00-00-00-000Z";
    if (name.size() != shape.size())
        return std::nullopt;
    const auto part = [&](std::size_t start, std::size_t length) {
        return unsignedInteger(name.substr(start, length)).value_or(0);
    };
    const year_month_day date{year(static_cast<int>(part(0, 4))), month(static_cast<unsigned>(part(5, 2))),
                              day(static_cast<unsigned>(part(8, 2)))};
    if (!date.ok())
        return std::nullopt;
    return sys_days(date) + hours(part(11, 2)) + minutes(part(14, 2)) + seconds(part(17, 2)) +
           milliseconds(part(20, 3));
}

/// A copy as its name and size tell of it.
struct StoredCopy {
    Path file;
    std::uint64_t sequence;
    Time time;
    std::uintmax_t bytes;
};

Path noteBeside(Path copy) {
    return copy.replace_extension(".json");
}

std::uintmax_t sizeOf(const Path &file) {
    std::error_code missing;
    const std::uintmax_t bytes = std::filesystem::file_size(file, missing);
    return missing ? 0 : bytes;
}

/// Newest first.
std::vector<StoredCopy> storedCopies(const Path &folder) {
    std::vector<StoredCopy> found;
    for (const Path &file : entries(folder)) {
        const std::string name = file.stem().string();
        const std::size_t blank = std::min(name.find(' '), name.size());
        const auto sequence = unsignedInteger(std::string_view(name).substr(0, blank));
        const auto time = timeIn(std::string_view(name).substr(std::min(blank + 1, name.size())));
        if (file.extension() == extension && sequence && time)
            found.push_back({file, *sequence, *time, sizeOf(file)});
    }
    std::sort(found.begin(), found.end(),
              [](const StoredCopy &left, const StoredCopy &right) { return left.sequence > right.sequence; });
    return found;
}

Json noteObject(const HistoryNote &note, const std::string &time) {
    return {{"version", 1},
            {"time", time},
            {"before", note.before == HistoryNote::Before::sync ? "sync" : "restore"},
            {"tracks", note.tracks},
            {"adjusted", note.result.updated},
            {"added", note.result.added},
            {"removed", note.removed},
            {"patchBefore", note.patchBefore},
            {"patchAfter", note.patchAfter}};
}

HistoryNote readNote(const Path &file) {
    const Json object = readObject(file);
    HistoryNote note;
    note.before =
        text(object, "before") == "restore" ? HistoryNote::Before::restore : HistoryNote::Before::sync;
    note.tracks = number(object, "tracks");
    note.removed = texts(object, "removed");
    note.result = {number(object, "adjusted"), number(object, "added"),
                   static_cast<std::int64_t>(note.removed.size())};
    note.patchBefore = text(object, "patchBefore");
    note.patchAfter = text(object, "patchAfter");
    return note;
}

// What need not be kept

constexpr std::size_t keptOfEach = 20;
constexpr std::size_t alwaysKeptOfEach = 3;
constexpr auto keptFor = std::chrono::hours(30 * 24);
constexpr std::uintmax_t mostBytes = 2'000'000'000;

std::uintmax_t bytesOf(const StoredCopy &copy) {
    return copy.bytes + sizeOf(noteBeside(copy.file));
}

} // namespace

std::optional<Path> historyFolder(const Path &top, const Path &sessionURL, const std::string &newBackup) {
    const std::vector<Owner> all = owners(top);
    const Owner *owner = ownerOf(all, sessionURL, newBackup);
    return owner == nullptr ? std::nullopt : std::optional(owner->folder);
}

Path claimHistoryFolder(const Path &top, const Path &sessionURL, const std::string &newBackup) {
    const std::vector<Owner> all = owners(top);
    const Owner *found = ownerOf(all, sessionURL, newBackup);
    Owner owner = found != nullptr ? *found : Owner{newFolder(top, sessionURL), {}, {}};
    owner.path = knownPath(sessionURL);
    if (!newBackup.empty())
        owner.add(newBackup);
    releasePath(all, owner.path, owner.folder); // another session is there now
    write(owner);
    return owner.folder;
}

void rememberBackup(const Path &top, const Path &sessionURL, const std::string &newBackup) {
    const std::vector<Owner> all = owners(top);
    const Owner *found = ownerOf(all, sessionURL, newBackup);
    if (found == nullptr || found->knowsAny({newBackup}))
        return;
    Owner owner = *found;
    owner.add(newBackup);
    write(owner);
}

void releasePath(const Path &top, const Path &sessionURL) {
    releasePath(owners(top), knownPath(sessionURL), {});
}

std::vector<HistoryCopy> copiesIn(const Path &folder) {
    std::vector<HistoryCopy> copies;
    for (const StoredCopy &stored : storedCopies(folder))
        copies.push_back(
            {copies.size() + 1, stored.time, stored.file, stored.bytes, readNote(noteBeside(stored.file))});
    return copies;
}

Path addCopy(const Path &folder, const Path &sessionFile, const HistoryNote &note, Time now) {
    const std::vector<StoredCopy> stored = storedCopies(folder);
    const std::uint64_t sequence = stored.empty() ? 1 : stored.front().sequence + 1;
    Path file = folder / (copyName(sequence, now) + extension);
    copyFile(sessionFile, file);
    try {
        writeObject(noteBeside(file), noteObject(note, timeText(now)));
    } catch (...) {
        removeCopy(file);
        throw;
    }
    return file;
}

void removeCopy(const Path &file) {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    std::filesystem::remove(noteBeside(file), ignored);
}

void pruneHistory(const Path &top, Time now) {
    std::vector<StoredCopy> dispensable;
    std::uintmax_t total = 0;
    for (const Path &folder : entries(top)) {
        std::size_t newer = 0;
        for (const StoredCopy &copy : storedCopies(folder)) {
            if (newer >= keptOfEach && now - copy.time > keptFor) {
                removeCopy(copy.file);
                continue;
            }
            total += bytesOf(copy);
            if (newer++ >= alwaysKeptOfEach)
                dispensable.push_back(copy);
        }
    }
    std::stable_sort(dispensable.begin(), dispensable.end(),
                     [](const StoredCopy &left, const StoredCopy &right) { return left.time < right.time; });
    for (const StoredCopy &oldest : dispensable) {
        if (total <= mostBytes)
            return;
        total -= bytesOf(oldest);
        removeCopy(oldest.file);
    }
}

} // namespace corvane::session
