#pragma once

#include "cli/Outcome.h"
#include "livetrax/remote/MarkerStyle.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace corvane::cli {

enum class Verb {
    hosts,
    patch,
    watch,
    create,
    sync,
    plan,
    signature,
    history,
    restore,
    transport,
    save,
    marker,
    markers,
    scenes,
    check,
    diagnose,
    completion
};
enum class Format { table, json, csv, labels };

/// Where the channels of a command come from: a patch file, a host that is named, or, when neither is given,
/// the host that is found.
struct ChannelSourceOptions {
    std::optional<std::filesystem::path> file;
    std::optional<std::string> host;
    std::uint16_t port = 0;
};

/// A command line that makes sense. Paths are absolute and without a slash at their end.
struct Options {
    Verb verb = Verb::hosts;
    Format format = Format::table;
    /// `--style`, else CORVANE_MARKERS.
    MarkerStyle markerStyle = MarkerStyle::classic;
    bool json = false;
    bool launch = false;
    /// `--allow-empty`: no channels are a patch like any other.
    bool allowEmpty = false;
    bool discardRecordings = false;
    /// `--confirm`: LiveTrax must answer before anything is sent.
    bool confirm = false;
    /// `--names`: those of channels, scenes, sessions and the home are told.
    bool withNames = false;
    std::optional<std::filesystem::path> rehearsal;
    ChannelSourceOptions source;
    /// `--for`
    std::optional<std::chrono::milliseconds> duration;
    /// `--events`: those that `watch` prints; all when there are none.
    std::set<std::string> events;
    /// `--save`: where the patch file or the list of scenes goes.
    std::optional<std::filesystem::path> saveTo;
    /// `--number` and `--at`: the copy to be restored; at most one of them, the newest when neither is given.
    std::optional<std::uint64_t> copyNumber;
    std::optional<std::string> copyTime;
    /// The shell that completions are for.
    std::string shell;
    /// The session's or the marker's name.
    std::string name;
    /// The session's folder.
    std::optional<std::filesystem::path> session;
    /// `--in`: the folder that a session is created in; empty when it was not given.
    std::filesystem::path folder;
};

/// A command line that ends the program at once: with a text to print (help, version) or a failure.
struct Ending {
    std::string text;
    Outcome outcome;
};

/// Reads the arguments, without the program's own name. Relative paths are taken from `currentFolder`.
std::variant<Options, Ending> parseCommandLine(const std::vector<std::string> &arguments,
                                               const std::filesystem::path &currentFolder);

/// The absolute form of a path as it was typed, without "." and ".." in it and without a slash at its end.
std::filesystem::path absolutePath(const std::filesystem::path &typed,
                                   const std::filesystem::path &currentFolder);

} // namespace corvane::cli
