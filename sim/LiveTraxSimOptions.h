#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

/// What is wrong with a command line or with LIVETRAX_SIM, to be printed.
class LiveTraxSimUsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// LiveTrax's command line: "-a -n -k KEYS FOLDER" opens a session, "-a -n -k KEYS -T NAME -N FOLDER" makes
/// one from the user template NAME.
struct LiveTraxCommandLine {
    /// `arguments` are those behind the program. Throws LiveTraxSimUsageError.
    static LiveTraxCommandLine parse(const std::vector<std::string> &arguments);

    std::filesystem::path folder;            ///< the session's, absolute, without a slash at its end
    std::optional<std::string> templateName; ///< present when the session is to be made
};

/// How a stand-in differs from a LiveTrax that stands still and does what it is told.
struct LiveTraxBehaviour {
    /// Reads the words of LIVETRAX_SIM, separated by commas; blanks around them do not count. Throws
    /// LiveTraxSimUsageError.
    static LiveTraxBehaviour parse(std::string_view words);

    bool deaf = false;      ///< the OSC surface is off
    bool rolling = false;   ///< the transport rolls
    bool armed = false;     ///< record is enabled
    bool recording = false; ///< records, hence is armed and rolls
    bool noSave = false;    ///< "/save_state" saves nothing
    bool ignoreTerminate = false;
    std::chrono::milliseconds slowQuit{0}; ///< from the request to quit to the end
};

} // namespace corvane
