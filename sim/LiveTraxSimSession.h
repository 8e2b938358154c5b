#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

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

    /// Drops a marker that is called "mark" and the next free number; `seconds` from the session's start.
    void addMarker(double seconds);
    /// Names the marker that was dropped last, saved or not; without one it changes nothing.
    void nameMarker(const std::string &name);
    /// Rewrites the session file in one step. Throws FileError and XMLError.
    void save();

private:
    LiveTraxSimSession(std::filesystem::path file, std::string text)
        : file(std::move(file)), text(std::move(text)) {}

    struct Marker {
        std::string name;
        double seconds;
    };
    std::filesystem::path file;
    std::string text;            ///< the session as it was saved last, or its last marker named since
    std::vector<Marker> markers; ///< dropped since, in order
    std::uint64_t marks = 0;     ///< dropped since the start
    std::optional<std::string> lastSaved; ///< the id of the marker dropped last, once it is saved
};

/// Puts a session at the top of LiveTrax's list of recent sessions, the file "recent" in the preferences
/// folder: two lines a session, name then folder, the newest first. Throws FileError.
void prependToRecent(const std::filesystem::path &preferences, const std::filesystem::path &folder);

} // namespace corvane
