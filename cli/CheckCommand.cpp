#include "cli/Checklist.h"
#include "cli/Commands.h"
#include "cli/Json.h"
#include "cli/PatchReadingCommand.h"
#include "cli/SessionAdvice.h"
#include "cli/Table.h"
#include "livetrax/LiveTraxSurface.h"
#include "livetrax/session/Backups.h"
#include "livetrax/session/History.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/LiveTraxPaths.h"
#include "patch/FiniteColours.h"
#include "platform/files/Files.h"

#include <system_error>

namespace corvane::cli {

namespace {

using Path = std::filesystem::path;
using Place = CheckFacts::Place;

/// Runs a step that may fail; its error as a sentence, empty when there was none.
template <class Step>
std::string problemOf(Step step) {
    try {
        step();
        return {};
    } catch (const std::exception &error) {
        return error.what();
    }
}

/// Only making a file tells for sure whether one can be made.
void tryToWriteIn(const Path &folder) {
    const Path probe = folder / ".corvane-check";
    replaceFileAtomically(probe, "");
    std::filesystem::remove(probe);
}

/// The folder itself or, as long as it is not there, the nearest one above it that is.
Place placeAt(const Path &folder) {
    std::error_code unknown;
    Place place{folder, std::filesystem::exists(folder, unknown), {}, volumeOf(folder)};
    Path existing = folder;
    while (!std::filesystem::exists(existing, unknown) && existing.has_relative_path())
        existing = existing.parent_path();
    place.problem = problemOf([&] { tryToWriteIn(existing); });
    return place;
}

/// Hears the console, then looks at everything else, and changes nothing.
class CheckCommand : public PatchReadingCommand {
    using PatchReadingCommand::PatchReadingCommand;

    void patchIs(const Channels &channels) override { report({}, withFiniteColours(channels)); }
    void thereIsNoPatch(const Outcome &why) override { report(why.message, std::nullopt); }

    void report(const std::string &problem, const std::optional<Channels> &channels) {
        context.output.progress("Looking at LiveTrax and the disk…");
        CheckFacts facts = look();
        const auto &heard = console();
        facts.console = {heard.text(), heard.way,
                         std::chrono::duration_cast<std::chrono::milliseconds>(context.platform.main.now() -
                                                                               heard.lastHeard),
                         heard.accepted, problem};
        facts.channels = channels;
        if (context.options.session)
            facts.session = sessionAt(*context.options.session, channels);
        const auto checks = checklist(facts);
        context.output.print(context.options.json ? json(checks) : text(checks));
        end(outcome(checks));
    }

    CheckFacts look() const {
        CheckFacts facts;
        const Platform &platform = context.platform;
        if (const auto target = LiveTraxGenerator::target(platform.folders)) {
            facts.recorder.name = target->displayName;
            facts.recorder.preferences = target->preferences;
            facts.recorder.problem = problemOf([&] {
                facts.recorder.configuration =
                    readConfiguration(preferencesFolder(platform.folders, target->preferences));
            });
        }
        facts.recorder.rehearsal = missingLiveTraxAdvice(platform);
        facts.recorder.runs = LiveTraxGenerator::runningApplication(platform) != nullptr;
        facts.listening = heldPort(context.portHolders(liveTraxSurface::port));
        facts.replies = heldPort(context.portHolders(liveTraxSurface::replyPort));
        facts.templateProblem =
            problemOf([&] { facts.baseTemplate = readHardware(baseTemplateFile(platform.resources)); });
        if (!context.options.folder.empty())
            facts.folder = placeAt(context.options.folder);
        return facts;
    }

    CheckFacts::Session sessionAt(const Path &folder, const std::optional<Channels> &channels) const {
        CheckFacts::Session session;
        const Platform &platform = context.platform;
        const Path file = LiveTraxGenerator::sessionFile(folder);
        session.place = placeAt(folder);
        if (!fileExists(file)) {
            session.problem = GeneratorError::sessionMissing(file.string()).what();
            session.advice = missingSessionAdvice(platform, folder);
            return session;
        }
        session.problem = problemOf([&] { session.made = readHardware(file); });
        if (!session.problem.empty())
            return session;
        if (channels) {
            session.inStep = LiveTraxGenerator::sessionRecords(platform, folder, *channels);
            session.planProblem =
                problemOf([&] { session.plan = LiveTraxGenerator::plan(platform, folder, *channels); });
        }
        const auto copies = History(platform).copies(folder);
        session.copies = copies.size();
        session.newestCopy = copies.empty() ? "" : timeText(copies.front().time);
        session.wasUpdated = hasBackups(folder);
        session.recoveryData = LiveTraxGenerator::hasRecoveryData(folder);
        return session;
    }

    static const char *stateText(Check::State state) {
        switch (state) {
        case Check::State::ok:
            return "ok";
        case Check::State::warning:
            return "warning";
        case Check::State::failed:
            return "failed";
        }
        return "";
    }

    static std::string json(const std::vector<Check> &checks) {
        Json list = Json::array();
        for (const Check &check : checks)
            list.push_back({{"name", check.name},
                            {"state", stateText(check.state)},
                            {"text", check.text},
                            {"advice", check.advice}});
        return document({{"checks", list}});
    }

    static std::string text(const std::vector<Check> &checks) {
        std::vector<std::vector<std::string>> rows;
        rows.reserve(checks.size());
        for (const Check &check : checks)
            rows.push_back({stateText(check.state), check.name,
                            check.text + (check.advice.empty() ? "" : " " + check.advice)});
        return table(rows);
    }

    static Outcome outcome(const std::vector<Check> &checks) {
        std::string names;
        std::size_t failed = 0;
        for (const Check &check : checks) {
            if (check.state != Check::State::failed)
                continue;
            ++failed;
            names += (names.empty() ? "" : ", ") + check.name;
        }
        if (failed == 0)
            return {};
        return {status::refused,
                std::to_string(failed) + " of " + std::to_string(checks.size()) + " failed: " + names + "."};
    }
};

} // namespace

std::shared_ptr<Command> makeCheckCommand(const CommandContext &context) {
    return std::make_shared<CheckCommand>(context);
}

} // namespace corvane::cli
