#pragma once

#include "livetrax/session/History.h"
#include "livetrax/session/RecordingFormat.h"
#include "livetrax/session/UpdatePlan.h"
#include "platform/Platform.h"
#include "platform/files/Volume.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// What is asked of the disk.
struct SessionQuestion {
    std::optional<std::filesystem::path> session; ///< the active one
    std::string patch;                            ///< the signature of the console's channels
    std::vector<LV1Channel> channels;             ///< of the console, with colours that are numbers
    std::filesystem::path saveIn;                 ///< where a new session would go
    std::optional<HistoryCopy> copy = {};         ///< of the session, that one might go back to

    /// Channels are compared by `patch`: a change of colour does not take the place of a question.
    bool operator==(const SessionQuestion &other) const {
        return session == other.session && patch == other.patch && saveIn == other.saveIn &&
               copy == other.copy;
    }
};

/// What the disk says.
struct SessionAnswer {
    SessionQuestion question;
    std::optional<std::filesystem::path> lastOpened; ///< by LiveTrax
    bool lastOpenedIsSession = false;                ///< by whatever path
    bool exists = false;                             ///< the session's file
    std::optional<std::string> signature;            ///< of the session's patch; none when it cannot be read
    RecordingFormat format;                          ///< of the session; else the usual
    std::optional<UpdatePlan> plan;              ///< what an update would do; none when it would be refused
    std::optional<std::int64_t> recordingsSince; ///< the copy was made; none when that cannot be told
    std::vector<Volume> volumes;                 ///< of the session and of where a new one would go
};

/// Reads sessions from disk for the window, on "Corvane.Sessions", so that the main thread never waits for a
/// disk. Used on the main queue. A question asked while another one is in flight replaces it; a session file
/// that has not changed is not read again.
class SessionReader {
public:
    using Told = std::function<void(const SessionAnswer &)>;

    /// `platform` outlives the reader.
    explicit SessionReader(Platform &platform);

    /// `told` is called on the main queue, unless another question comes first or the reader is destroyed.
    /// When the same question is in flight already, the latest is asked afterwards, and the `told` of the
    /// first call gets both answers.
    void ask(SessionQuestion question, Told told);
    /// What is being read is out of date: it is told to nobody.
    void forget() { reading.reset(); }

private:
    struct Reading;

    Platform &platform;
    std::shared_ptr<SerialQueue> queue;
    std::shared_ptr<Reading> reading; ///< the one that is wanted; what others have found is dropped
};

} // namespace corvane
