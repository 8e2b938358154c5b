#include "cli/Json.h"
#include "cli/SessionAdvice.h"
#include "cli/SessionCommand.h"
#include "cli/Table.h"
#include "livetrax/session/History.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "platform/files/Files.h"

#include <algorithm>
#include <string>
#include <vector>

namespace corvane::cli {

namespace {

const char *beforeText(const HistoryNote &note) {
    return note.before == HistoryNote::Before::sync ? "sync" : "restore";
}

Json place(const HistoryCopy &copy) {
    return {{"number", copy.number}, {"time", timeText(copy.time)}};
}

class HistoryCommand : public Command {
public:
    explicit HistoryCommand(const CommandContext &context) : context(context) {}

private:
    void start() override {
        context.output.progress("Looking for copies…");
        const auto copies = History(context.platform).copies(*context.options.session);
        context.output.print(context.options.json ? document(json(copies)) : text(copies));
        end();
    }

    /// No copies are no error; a folder that is not there may be one of spelling.
    std::string none() const {
        const auto &session = *context.options.session;
        if (fileExists(LiveTraxGenerator::sessionFile(session)))
            return "No copies are kept of this session.\n";
        const std::string advice = missingSessionAdvice(context.platform, session);
        return "No copies are kept of " + session.string() + ", and there is no session there." +
               (advice.empty() ? "" : " " + advice) + "\n";
    }

    static Json json(const std::vector<HistoryCopy> &copies) {
        Json list = Json::array();
        for (const HistoryCopy &copy : copies) {
            Json object = place(copy);
            object.update(Json{{"bytes", copy.bytes},
                               {"tracks", copy.note.tracks},
                               {"before", beforeText(copy.note)},
                               {"adjusted", copy.note.result.updated},
                               {"added", copy.note.result.added},
                               {"removed", copy.note.removed}});
            list.push_back(object);
        }
        return {{"copies", list}};
    }

    std::string text(const std::vector<HistoryCopy> &copies) const {
        if (copies.empty())
            return none();
        std::vector<std::vector<std::string>> rows{{"COPY", "TIME", "TRACKS", "KEPT BEFORE A", "WHICH"}};
        for (const HistoryCopy &copy : copies)
            rows.push_back({std::to_string(copy.number), timeText(copy.time),
                            std::to_string(copy.note.tracks), beforeText(copy.note), changes(copy.note)});
        return table(rows);
    }

    /// "adjusted 3, added 1, removed OH, Vox"
    static std::string changes(const HistoryNote &note) {
        std::string removed;
        for (const std::string &name : note.removed)
            removed += (removed.empty() ? ", removed " : ", ") + name;
        return "adjusted " + std::to_string(note.result.updated) + ", added " +
               std::to_string(note.result.added) + removed;
    }

    CommandContext context;
};

class RestoreCommand : public Command {
public:
    explicit RestoreCommand(const CommandContext &context) : context(context) {}

private:
    void start() override {
        refuseWhileLiveTraxRuns(context.platform);
        const Options &options = context.options;
        const History history(context.platform);
        context.output.progress("Putting the copy back…");
        const HistoryCopy restored = chosen(history.copies(*options.session));
        const HistoryCopy kept = history.restore(*options.session, restored, {options.discardRecordings});
        context.output.print(options.json ? document({{"restored", place(restored)}, {"kept", place(kept)}})
                                          : text(restored, kept));
        end();
    }

    HistoryCopy chosen(const std::vector<HistoryCopy> &copies) const {
        const Options &options = context.options;
        const auto found = std::find_if(copies.begin(), copies.end(), [&](const HistoryCopy &copy) {
            return options.copyTime ? timeText(copy.time) == *options.copyTime
                                    : copy.number == options.copyNumber.value_or(1);
        });
        if (found == copies.end())
            throw CommandFailure(status::wrongUsage, "There is no such copy of " + options.session->string() +
                                                         "." + beneath(whatThereIs(copies)));
        return *found;
    }

    /// Which copies a person can choose from.
    std::string whatThereIs(const std::vector<HistoryCopy> &copies) const {
        if (copies.empty())
            return missingSessionAdvice(context.platform, *context.options.session);
        const auto told = [](const HistoryCopy &copy) {
            return std::to_string(copy.number) + " (" + timeText(copy.time) + ")";
        };
        return copies.size() == 1 ? "The only one is " + told(copies.front()) + "."
                                  : "They are " + told(copies.front()) + " to " + told(copies.back()) + ".";
    }

    static std::string text(const HistoryCopy &restored, const HistoryCopy &kept) {
        return "Restored the copy of " + timeText(restored.time) + ". What was there before is copy " +
               std::to_string(kept.number) +
               " now.\nMarkers, edits and mixes made since then are in that copy alone.\n";
    }

    CommandContext context;
};

} // namespace

std::shared_ptr<Command> makeHistoryCommand(const CommandContext &context) {
    return std::make_shared<HistoryCommand>(context);
}

std::shared_ptr<Command> makeRestoreCommand(const CommandContext &context) {
    return std::make_shared<RestoreCommand>(context);
}

} // namespace corvane::cli
