#pragma once

#include "livetrax/session/RecordingFormat.h"
#include "platform/files/Volume.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// One message that the window shows besides its status: something to know before the next press, in words,
/// with at most one action.
struct Notice {
    /// In order of importance.
    enum class Kind {
        createCannot,   ///< the answer to a press on Create that can do nothing
        otherSession,   ///< LiveTrax opened another session last
        sessionGone,    ///< the active session is not where it was
        networkRefused, ///< the system keeps the program from the network that consoles are in
        linkDown,       ///< the console is not connected any more
        sessionDiffers, ///< the session on disk is not what the green button says
        takesRemoved,   ///< an update took tracks with recordings out of the session
        namesUnfit,     ///< names that the recorder cannot hold: they would be recorded without a file
        takesAtRisk,    ///< the next update would take tracks with recordings out
        markerLost,     ///< a scene's marker did not reach LiveTrax
        namesRewritten, ///< names that the recorder writes in its own way
        patchConflict,  ///< no session can be made of the console's patch
        spaceLow,       ///< less than an hour of recording is left
    };

    Kind kind;
    std::string text;
    /// The title of its action; empty when there is nothing to press.
    std::string action = {};
    /// What a text that changes by itself is about, and how bad it is, from 1: nobody is told again before it
    /// is a step worse.
    std::string matter = {};
    int step = 0;
    /// What there is to say beyond the text, one thing a line, for whoever hovers over it.
    std::string detail = {};

    bool operator==(const Notice &) const = default;
    /// Whether who has put this one away need not be told the other.
    bool covers(const Notice &other) const;
};

/// How the session on disk differs from the console's patch, in tracks.
struct SessionDifference {
    std::size_t lacks = 0;   ///< channels of the console that it has no track for
    std::size_t extra = 0;   ///< tracks that the console has no channel for
    std::size_t changed = 0; ///< tracks that are called otherwise
    std::size_t moved = 0;   ///< tracks that stand in another place

    bool operator==(const SessionDifference &) const = default;
};

/// What is known that may be worth a notice, as it is at one moment.
struct NoticeFacts {
    enum class CreateProblem { none, noName, noChannels };
    struct Marker {
        std::string name;
        std::string reason; ///< a sentence
    };
    /// A program that holds a port which LiveTrax's answers come to.
    struct PortHolder {
        std::string problem; ///< that this makes, as the reason of a lost marker says it
        std::string program;
    };
    struct Recording {
        std::size_t inputs = 0; ///< that are recorded at once, a stereo channel counting as two
        RecordingFormat format;
        std::vector<Volume> volumes; ///< on which is, or will be, recorded
    };

    CreateProblem createProblem = CreateProblem::none;
    std::optional<std::filesystem::path> session;    ///< that SYNC LV1 works on
    std::optional<std::filesystem::path> lastOpened; ///< by LiveTrax
    bool sessionIsGone = false;
    bool networkIsRefused = false;
    bool linkIsDown = false;
    std::size_t channels = 0;                    ///< of the console
    std::optional<SessionDifference> difference; ///< unless changes are pending anyway
    std::vector<std::string> differences;        ///< what an update would do about it, each in words
    std::vector<std::string> takesInDifference;  ///< names of recorded tracks that it would take out
    std::vector<std::string> removedWithTakes;   ///< tracks that the last update took out
    /// Recordings in the session that the copy from before does not know; none when that cannot be told.
    std::optional<std::int64_t> recordingsSinceRemoval;
    std::vector<std::string> overlongNames;  ///< sentences
    std::vector<std::string> rewrittenNames; ///< sentences
    std::vector<std::string> atRisk;         ///< tracks with recordings that an update would take out
    std::optional<Marker> lostMarker;
    std::optional<PortHolder> portHolder;
    std::vector<std::string> conflicts; ///< without a full stop
    Recording recording;
};

/// What there is to say, the most important first.
std::vector<Notice> notices(const NoticeFacts &facts);

} // namespace corvane
