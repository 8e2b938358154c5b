#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace corvane {

/// The session that a LiveTrax stand-in has open. As the real one it is held in memory, and what a save
/// writes is the memory, whatever became of the file meanwhile. Used on one queue.
class LiveTraxSimSession {
public:
    /// Makes the session folder from the user template NAME in the preferences folder and saves it. Throws
    /// FileError and XMLError, also when there is a session already.
    static LiveTraxSimSession create(const std::filesystem::path &folder,
                                     const std::filesystem::path &preferences,
                                     const std::string &templateName);
    /// Reads the session file of a folder. Throws FileError and XMLError.
    static LiveTraxSimSession open(const std::filesystem::path &folder);
    /// The file inside `folder` that bears its name.
    static std::filesystem::path sessionFile(const std::filesystem::path &folder);

    /// Drops a marker; `seconds` from the session's start. Without a name it is called "mark" and a number.
    void addMarker(double seconds, const std::string &name = {});
    /// Where the first marker of that name stands, in seconds.
    std::optional<double> markerAt(const std::string &name) const;
    /// Names the marker that stands exactly there, the last of several; tells whether one does.
    bool nameMarker(double seconds, const std::string &name);
    /// Rewrites the session file in one step. Throws FileError and XMLError.
    void save();

private:
    LiveTraxSimSession(std::filesystem::path file, std::string text)
        : file(std::move(file)), text(std::move(text)) {}

    std::filesystem::path file;
    std::string text;        ///< the session as a save would write it
    std::uint64_t marks = 0; ///< dropped since the start
};

/// Puts a session at the top of LiveTrax's list of recent sessions, the file "recent" in the preferences
/// folder: two lines a session, name then folder, the newest first. Throws FileError.
void prependToRecent(const std::filesystem::path &preferences, const std::filesystem::path &folder);

} // namespace corvane
