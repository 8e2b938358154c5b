#include "cli/Json.h"
#include "cli/ListeningCommand.h"
#include "cli/Table.h"
#include "livetrax/remote/SceneRecall.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "platform/files/FileHandle.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

namespace corvane::cli {

namespace {

/// A log of the show: every scene that the console recalls, with its time. Adds no markers.
class ScenesCommand : public ListeningCommand {
    using ListeningCommand::ListeningCommand;

    void start() override {
        if (context.options.saveTo)
            openFile(*context.options.saveTo);
        ListeningCommand::start();
    }

    void wire(LV1Client &console) override {
        console.onScene = whileListening([this](const std::string &name) { recalled(name); });
    }

    void statusIs(const std::string &text) override { context.output.progress(text); }

    /// What is there already is kept: it may be the first half of the evening.
    void openFile(const std::filesystem::path &path) {
        file.emplace(FileHandle::openForAppending(path));
        std::error_code unknown;
        if (std::filesystem::file_size(path, unknown) == 0 && !unknown)
            file->write(commaSeparated({{"time", "scene", "marked", "reason"}}));
    }

    void recalled(const std::string &name) {
        const Platform &platform = context.platform;
        const SceneContext situation{
            lastScene, LiveTraxGenerator::knownSessionURL(*platform.defaults, platform.folders).has_value(),
            [&] { return LiveTraxGenerator::runningApplication(platform) != nullptr; }};
        lastScene = name;
        const SceneRecall scene = recall(name, situation, platform.clock());
        if (file)
            file->write(commaSeparated(
                {{timeOfDay(scene.time), scene.scene, scene.marked ? "true" : "false", scene.reason}}));
        context.output.print(context.options.json ? line(json(scene)) + "\n" : text(scene));
    }

    static Json json(const SceneRecall &scene) {
        return {{"time", timeOfDay(scene.time)},
                {"scene", scene.scene},
                {"marked", scene.marked},
                {"reason", scene.reason}};
    }

    static std::string text(const SceneRecall &scene) {
        const std::string decision = scene.marked ? "would be marked" : "not marked: " + scene.reason;
        return table({{timeOfDay(scene.time), scene.scene, decision}});
    }

    std::optional<std::string> lastScene;
    std::optional<FileHandle> file;
};

} // namespace

std::shared_ptr<Command> makeScenesCommand(const CommandContext &context) {
    return std::make_shared<ScenesCommand>(context);
}

} // namespace corvane::cli
