#include "app/SessionReader.h"

#include "livetrax/session/LiveTraxGenerator.h"
#include "platform/files/FileState.h"
#include "platform/files/Files.h"

#include <exception>
#include <system_error>
#include <tuple>
#include <utility>

namespace corvane {

namespace {

/// Of the session's file, and of the copy that one might go back to.
using FileStates = std::pair<FileState, FileState>;

} // namespace

/// One question and what has been found. Belongs to the main queue but for `answer` and `states`, which
/// belong to the reading queue until it has handed them back.
struct SessionReader::Reading {
    SessionAnswer answer;
    FileStates states;
    Told told; ///< empty once it was told
    /// The same, asked once more meanwhile, maybe with other colours.
    std::optional<SessionQuestion> again;
};

SessionReader::SessionReader(Platform &platform)
    : platform(platform), queue(platform.queues->make("Corvane.Sessions")) {}

namespace {

/// What the engine reads by, copied: a reading may outlast the program's last moments.
struct ReadingSystem {
    StandardFolders folders;
    BundleResources resources;
    UserDefaults *defaults;
    RunningApplications *applications;
    ProcessLauncher *processes;
    WallClock clock;
};

/// A session that cannot be read says nothing. False when it may be readable a moment later.
bool readSession(SessionAnswer &answer) {
    try {
        const XMLDocument session =
            XMLDocument::load(LiveTraxGenerator::sessionFile(*answer.question.session));
        answer.format = recordingFormat(session.root());
        answer.signature = LiveTraxGenerator::treePatchSignature(session.root());
    } catch (const FileError &) {
        return false;
    } catch (const std::exception &) { // nothing is known of it before, nor now
    }
    return true;
}

/// Two paths may lead to one folder.
bool isSameFolder(const std::filesystem::path &one, const std::filesystem::path &other) {
    std::error_code failure;
    const auto canonical = [&](const std::filesystem::path &folder) {
        auto found = std::filesystem::weakly_canonical(folder, failure);
        return failure ? folder : found;
    };
    // A slash at the end has an empty name behind it.
    return canonical(one / ".") == canonical(other / ".");
}

void readDisk(const ReadingSystem &system, const decltype(Platform::volumeOf) &volumeOf,
              SessionAnswer &answer, FileStates &states, const std::function<bool()> &isWanted) {
    const SessionQuestion &question = answer.question;
    answer.lastOpened = LiveTraxGenerator::mostRecentSessionURL(system.folders);
    answer.volumes.clear();
    const auto addVolume = [&](const std::filesystem::path &folder) {
        if (auto volume = volumeOf(folder))
            answer.volumes.push_back(*std::move(volume));
    };
    if (!question.saveIn.empty())
        addVolume(question.saveIn);
    if (!question.session)
        return;
    addVolume(*question.session);
    answer.lastOpenedIsSession = answer.lastOpened && isSameFolder(*answer.lastOpened, *question.session);
    const FileStates now{stateOf(LiveTraxGenerator::sessionFile(*question.session)),
                         question.copy ? stateOf(question.copy->file) : std::nullopt};
    answer.exists = now.first.has_value();
    if (answer.exists && now == states)
        return; // known already
    states = now;
    answer.signature.reset();
    answer.format = {};
    answer.plan.reset();
    answer.recordingsSince.reset();
    if (!answer.exists || !isWanted())
        return;
    if (!readSession(answer))
        states = {};
    if (!answer.signature || !isWanted())
        return;
    // What is wrong is said when the session is to be updated, or an update to be undone.
    const auto trying = [](auto &found, const auto &read) {
        try {
            found = read();
        } catch (const std::exception &) { // nothing is known of it before, nor now
        }
    };
    trying(answer.plan,
           [&] { return LiveTraxGenerator::plan(system, *question.session, question.channels); });
    if (question.copy && isWanted())
        trying(answer.recordingsSince,
               [&] { return History(system).recordingsSince(*question.session, *question.copy); });
}

} // namespace

void SessionReader::ask(SessionQuestion question, Told told) {
    if (reading && reading->told && reading->answer.question == question) {
        // Replacing it each time, a busy console would never get an answer.
        reading->again = std::move(question);
        return;
    }
    const auto next = std::make_shared<Reading>();
    // What was found for the same question still holds as long as the file and the colours are the same.
    if (reading && !reading->told && reading->answer.question == question &&
        reading->answer.question.channels == question.channels) {
        next->answer = reading->answer;
        next->states = reading->states;
    }
    next->answer.question = std::move(question);
    next->told = std::move(told);
    reading = next;
    const ReadingSystem system{platform.folders,         platform.resources,
                               platform.defaults.get(),  platform.applications.get(),
                               platform.processes.get(), platform.clock};
    queue->post([reader = this, &main = platform.main, system, volumeOf = platform.volumeOf,
                 weak = std::weak_ptr(next), answer = next->answer, states = next->states]() mutable {
        const auto isWanted = [&weak] { return !weak.expired(); };
        if (!isWanted())
            return;
        readDisk(system, volumeOf, answer, states, isWanted);
        main.post([reader, weak, answer = std::move(answer), states] {
            const auto done = weak.lock();
            if (!done)
                return; // replaced, or the reader has gone
            done->answer = answer;
            done->states = states;
            const auto tell = std::exchange(done->told, nullptr);
            if (done->again)
                reader->ask(*std::exchange(done->again, std::nullopt), tell);
            tell(answer);
        });
    });
}

} // namespace corvane
