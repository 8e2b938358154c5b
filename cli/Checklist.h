#pragma once

#include "cli/HeldPort.h"
#include "livetrax/session/RecorderConfiguration.h"
#include "livetrax/session/SessionHardware.h"
#include "livetrax/session/UpdatePlan.h"
#include "lv1/LV1Channel.h"
#include "platform/files/Volume.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvane::cli {

/// One line of the list that an engineer goes through before a show.
struct Check {
    enum class State { ok, warning, failed };

    std::string name;
    State state = State::ok;
    std::string text;
    std::string advice = {}; ///< what to do about it; empty when nothing is to be done

    bool operator==(const Check &) const = default;
};

/// What is known when the list is drawn up. Texts called `problem` are sentences, and empty when there is
/// none.
struct CheckFacts {
    struct Console {
        std::string name; ///< "FOH (10.0.0.1:5000)"; empty when no console was heard
        std::string way;  ///< "multicast", "Bonjour"; empty for one whose address was given
        std::chrono::milliseconds sinceHeard{0};
        bool accepted = false; ///< the link, by the console
        std::string problem;   ///< why there is no patch
    };
    struct Recorder {
        std::string name;        ///< "LiveTrax 3"; empty when none is installed
        std::string preferences; ///< the folder's name
        bool runs = false;
        std::optional<RecorderConfiguration> configuration; ///< none when it was never started
        std::string problem;                                ///< with the configuration
        std::string rehearsal = {}; ///< in one: which folder is meant by "/Applications"
    };
    using Port = HeldPort;
    struct Place {
        std::filesystem::path folder;
        bool exists = true;
        std::string problem; ///< why nothing can be written there
        std::optional<Volume> volume;
    };
    struct Session {
        Place place;
        std::string problem;                 ///< why it cannot be read
        std::string advice;                  ///< where else to look then
        std::optional<SessionHardware> made; ///< what it was made for
        std::optional<bool> inStep;          ///< with the console; none without a patch to compare
        std::optional<UpdatePlan> plan;
        std::string planProblem; ///< why a sync would be refused
        std::size_t copies = 0;  ///< in its history
        std::string newestCopy;  ///< its time
        bool wasUpdated = false; ///< it holds copies of its own that Corvane made
        bool recoveryData = false;
    };

    Console console;
    std::optional<std::vector<LV1Channel>> channels; ///< the console's patch
    Recorder recorder;
    Port listening; ///< where LiveTrax listens
    Port replies;   ///< where it answers
    std::optional<SessionHardware> baseTemplate;
    std::string templateProblem;
    std::optional<Place> folder; ///< that new sessions are to go into
    std::optional<Session> session;
};

/// The list, in the order in which the things are set up.
std::vector<Check> checklist(const CheckFacts &facts);

} // namespace corvane::cli
