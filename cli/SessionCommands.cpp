#include "base/Quotation.h"
#include "base/Text.h"
#include "cli/Json.h"
#include "cli/SessionAdvice.h"
#include "cli/SessionCommand.h"
#include "cli/Table.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "patch/PatchConflicts.h"
#include "patch/RecorderNames.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>

namespace corvane::cli {

namespace {

/// What the engine says of channels that cannot be tracks of one session, with the channels beneath.
std::string refusal(const GeneratorError &error, const std::vector<LV1Channel> &channels) {
    using Case = GeneratorError::Case;
    std::string text = error.what();
    for (const PatchConflict &conflict : patchConflicts(channels)) {
        const bool about = conflict.kind == PatchConflict::Kind::name
                               ? error.errorCase() == Case::duplicateEnginePort
                               : error.errorCase() == Case::duplicateCapturePort ||
                                     error.errorCase() == Case::duplicateDirectOutBitSlot;
        if (about)
            text += "\n  " + withoutControls(conflict.text) + ".";
    }
    return text;
}

/// Runs a step of the session engine; a GeneratorError becomes a CommandFailure that names the conflicting
/// channels.
template <class Step>
auto telling(const CommandContext &context, const std::vector<LV1Channel> &channels, Step step) {
    try {
        return step();
    } catch (const GeneratorError &error) {
        std::string text = refusal(error, channels);
        if (error.errorCase() == GeneratorError::Case::sessionMissing && context.options.session)
            text += beneath(missingSessionAdvice(context.platform, *context.options.session));
        if (error.errorCase() == GeneratorError::Case::liveTraxMissing)
            text += beneath(missingLiveTraxAdvice(context.platform));
        throw CommandFailure(status::refused, text);
    }
}

CommandFailure nothingToRecord() {
    return {status::refused, "There are no channels to record."};
}

class CreateCommand : public SessionCommand {
    using SessionCommand::SessionCommand;

    void prepare() override {
        if (context.options.launch)
            refuseWhileLiveTraxRuns(context.platform);
    }

    void work(const Channels &channels) override {
        const Platform &platform = context.platform;
        const Options &options = context.options;
        if (channels.empty())
            throw nothingToRecord();
        context.output.progress("Making the session's template…");
        const auto session = telling(context, channels, [&] {
            return LiveTraxGenerator::generate(platform, options.name, options.folder, channels);
        });
        platform.defaults->set(LiveTraxGenerator::lastSessionKey, session.string());
        if (options.launch) {
            refuseWhileLiveTraxRuns(platform); // it may have been started meanwhile
            LiveTraxGenerator::launch(platform, session, options.name, channels);
        }
        report(session);
    }

    void report(const std::filesystem::path &session) {
        const Platform &platform = context.platform;
        const auto installed = LiveTraxGenerator::target(platform.folders);
        const auto written =
            installed ? LiveTraxGenerator::userTemplate(platform.folders, *installed, context.options.name)
                      : std::filesystem::path();
        // A folder that is typed in a rehearsal is that very folder.
        const std::string outside = outsideAdvice(platform, context.options.folder);
        context.output.print(context.options.json
                                 ? document({{"session", session.string()}, {"template", written.string()}})
                                 : "session  " + session.string() + "\ntemplate " + written.string() + "\n" +
                                       (outside.empty() ? "" : "note     " + outside + "\n"));
    }
};

class SyncCommand : public SessionCommand {
    using SessionCommand::SessionCommand;

    void prepare() override { refuseWhileLiveTraxRuns(context.platform); }

    void work(const Channels &channels) override {
        const Options &options = context.options;
        if (channels.empty() && !options.allowEmpty)
            throw nothingToRecord();
        context.output.progress("Updating the session…");
        const UpdateResult result = telling(context, channels, [&] {
            return LiveTraxGenerator::update(context.platform, *options.session, channels);
        });
        if (options.launch && !LiveTraxGenerator::runningApplication(context.platform))
            telling(context, channels,
                    [&] { LiveTraxGenerator::launchExisting(context.platform, *options.session, channels); });
        context.output.print(options.json ? document({{"adjusted", result.updated},
                                                      {"added", result.added},
                                                      {"removed", result.removed}})
                                          : text(result));
    }

    static std::string text(const UpdateResult &result) {
        return "Session updated: " + std::to_string(result.updated) + " adjusted, " +
               std::to_string(result.added) + " added, " + std::to_string(result.removed) + " removed.\n";
    }
};

class PlanCommand : public SessionCommand {
    using SessionCommand::SessionCommand;

    void work(const Channels &channels) override {
        context.output.progress("Reading the session…");
        const auto plan = telling(context, channels, [&] {
            return LiveTraxGenerator::plan(context.platform, *context.options.session, channels);
        });
        const auto warnings = warningsOf(plan, channels);
        context.output.print(context.options.json ? document(json(plan, warnings)) : text(plan, warnings));
    }

    /// What is to be known besides the tracks, one sentence each.
    static std::vector<std::string> warningsOf(const UpdatePlan &plan, const Channels &channels) {
        std::vector<std::string> warnings;
        if (channels.empty())
            warnings.emplace_back("There are no channels: every track would go.");
        if (plan.recoveryData)
            warnings.emplace_back(GeneratorError::recoveryDataPresent().what());
        for (const TrackDecision &track : plan.tracks)
            for (const std::int64_t input : track.silentInputs)
                warnings.push_back(withoutControls(quotation(track.name)) +
                                   " would record silence from input " + std::to_string(input + 1) +
                                   ": nothing is connected to it in the session.");
        for (const std::string &problem : recorderNameProblems(channels))
            warnings.push_back(withoutControls(problem));
        return warnings;
    }

    static const char *actionText(TrackDecision::Action action) {
        switch (action) {
        case TrackDecision::Action::keep:
            return "keep";
        case TrackDecision::Action::change:
            return "change";
        case TrackDecision::Action::add:
            return "add";
        case TrackDecision::Action::remove:
            return "remove";
        }
        return "";
    }

    /// A number where the session's text is one.
    static Json number(const std::string &text) {
        if (const auto value = integer(text))
            return *value;
        return text;
    }

    static Json json(const UpdatePlan &plan, const std::vector<std::string> &warnings) {
        Json tracks = Json::array();
        for (const TrackDecision &track : plan.tracks) {
            Json was = Json::object();
            if (track.was.name)
                was["name"] = *track.was.name;
            if (track.was.order)
                was["order"] = number(*track.was.order);
            if (track.was.color)
                was["color"] = number(*track.was.color);
            if (track.was.armed)
                was["armed"] = *track.was.armed;
            tracks.push_back({{"action", actionText(track.action)},
                              {"name", track.name},
                              {"input", track.inputIndex ? Json(*track.inputIndex) : Json()},
                              {"stereo", track.stereo},
                              {"takes", track.takes},
                              {"was", was}});
        }
        Json json{{"tracks", tracks},
                  {"adjusted", plan.result.updated},
                  {"added", plan.result.added},
                  {"removed", plan.result.removed}};
        if (!warnings.empty())
            json["warnings"] = warnings;
        return json;
    }

    static bool changesNothing(const UpdatePlan &plan) {
        return std::all_of(plan.tracks.begin(), plan.tracks.end(), [](const TrackDecision &track) {
            return track.action == TrackDecision::Action::keep;
        });
    }

    static std::string text(const UpdatePlan &plan, const std::vector<std::string> &warnings) {
        std::string text = changesNothing(plan) ? "Nothing would change.\n" : tracksText(plan);
        for (const std::string &warning : warnings)
            text += warning + "\n";
        return text;
    }

    static std::string tracksText(const UpdatePlan &plan) {
        std::vector<std::vector<std::string>> rows{{"ACTION", "TRACK", "INPUT", "BEFORE"}};
        for (const TrackDecision &track : plan.tracks)
            rows.push_back({actionText(track.action), track.name, inputText(track), before(track)});
        return table(rows) + std::to_string(plan.result.updated) + " adjusted, " +
               std::to_string(plan.result.added) + " added, " + std::to_string(plan.result.removed) +
               " removed\n" + changedText(plan);
    }

    /// Tracks that stay are adjusted as a whole, whether anything of them becomes different or not.
    static std::string changedText(const UpdatePlan &plan) {
        const auto changed =
            std::count_if(plan.tracks.begin(), plan.tracks.end(), [](const TrackDecision &track) {
                return track.action == TrackDecision::Action::change;
            });
        if (changed == plan.result.updated)
            return {};
        if (changed == 0)
            return "The adjusted tracks stay as they are.\n";
        return counted(std::size_t(changed), "of the adjusted tracks changes",
                       "of the adjusted tracks change") +
               "; the others stay as they are.\n";
    }

    static std::string inputText(const TrackDecision &track) {
        if (!track.inputIndex)
            return "none";
        // The number is the session's own and may be anything.
        const auto numbered = [&](std::int64_t offset) {
            constexpr auto highest = std::numeric_limits<std::int64_t>::max();
            return *track.inputIndex > highest - offset ? "…" : std::to_string(*track.inputIndex + offset);
        };
        return track.stereo ? numbered(1) + "–" + numbered(2) : numbered(1);
    }

    /// "#4080C0" of red, green, blue and alpha as one decimal number; any other text as it is.
    static std::string rgbText(const std::string &color) {
        const auto number = integer(color);
        if (!number || *number < 0 || *number > std::numeric_limits<std::uint32_t>::max())
            return color;
        char text[16] = {};
        std::snprintf(text, sizeof text, "#%06X", static_cast<unsigned>(*number >> 8));
        return text;
    }

    static std::string before(const TrackDecision &track) {
        std::string text;
        const auto add = [&](const char *what, const std::optional<std::string> &value) {
            if (value)
                text += (text.empty() ? "" : ", ") + std::string(what) + *value;
        };
        add("name ", track.was.name);
        add("place ", track.was.order);
        if (track.was.color)
            add("colour ", rgbText(*track.was.color));
        if (track.was.armed == false)
            add("not armed", "");
        if (track.rewired)
            add("connected again", "");
        if (track.action == TrackDecision::Action::remove && track.takes > 0)
            add("holds ", track.takes == 1 ? "1 recording" : std::to_string(track.takes) + " recordings");
        return text;
    }
};

class SignatureCommand : public Command {
public:
    explicit SignatureCommand(const CommandContext &context) : context(context) {}

private:
    void start() override {
        context.output.progress("Reading the session…");
        const std::string text = signature();
        context.output.print(context.options.json ? document({{"signature", text}}) : text + "\n");
        end();
    }

    std::string signature() const {
        const Options &options = context.options;
        if (options.source.file)
            return LiveTraxGenerator::patchSignature(readPatchFile(*options.source.file));
        if (auto text = LiveTraxGenerator::sessionPatchSignature(*options.session))
            return *text;
        throw CommandFailure(status::refused,
                             "The session at " + options.session->string() + " cannot be read." +
                                 beneath(missingSessionAdvice(context.platform, *options.session)));
    }

    CommandContext context;
};

} // namespace

std::shared_ptr<Command> makeCreateCommand(const CommandContext &context) {
    return std::make_shared<CreateCommand>(context);
}

std::shared_ptr<Command> makeSyncCommand(const CommandContext &context) {
    return std::make_shared<SyncCommand>(context);
}

std::shared_ptr<Command> makePlanCommand(const CommandContext &context) {
    return std::make_shared<PlanCommand>(context);
}

std::shared_ptr<Command> makeSignatureCommand(const CommandContext &context) {
    return std::make_shared<SignatureCommand>(context);
}

} // namespace corvane::cli
