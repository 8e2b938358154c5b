#include "cli/Commands.h"
#include "cli/Discovery.h"
#include "cli/Json.h"
#include "cli/Table.h"
#include "livetrax/remote/SceneRecall.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "lv1/HostChoice.h"
#include "lv1/LV1Client.h"
#include "platform/files/FileHandle.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace corvane::cli {

namespace {

/// The paper that people keep: every scene that the console recalls, with its time. Marks nothing itself.
class ScenesCommand : public Command {
public:
    explicit ScenesCommand(const CommandContext &context) : context(context) {}

    void stop() override {
        if (const auto leaving = std::exchange(client, nullptr))
            leaving->stop();
    }

private:
    void start() override {
        if (context.options.saveTo)
            openFile(*context.options.saveTo);
        client = LV1Client::make(context.platform);
        const auto self = std::static_pointer_cast<ScenesCommand>(shared_from_this());
        wire(self);
        if (const auto duration = context.options.duration)
            context.platform.main.after(
                *duration, weakly(std::weak_ptr(self), [](ScenesCommand &command) { command.end(); }));
        beginConnecting(*client, context.options.source);
    }

    void wire(const std::weak_ptr<ScenesCommand> &self) {
        const auto alive = [self](auto action) {
            return [self, action](const auto &what) {
                const auto command = self.lock();
                if (command && command->client)
                    command->guarded([&] { action(*command, what); });
            };
        };
        client->onStatus = alive([](ScenesCommand &command, const std::string &text) { command.show(text); });
        client->onScene =
            alive([](ScenesCommand &command, const std::string &name) { command.recalled(name); });
        client->onServices =
            alive([](ScenesCommand &command, const std::vector<std::shared_ptr<NetService>> &services) {
                if (const auto text = chooseHost(*command.client, command.client->endpoints, services))
                    command.show(*text);
            });
    }

    void show(const std::string &status) { context.output.progress(status); }

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

    CommandContext context;
    std::shared_ptr<LV1Client> client;
    std::optional<std::string> lastScene;
    std::optional<FileHandle> file;
};

} // namespace

std::shared_ptr<Command> makeScenesCommand(const CommandContext &context) {
    return std::make_shared<ScenesCommand>(context);
}

} // namespace corvane::cli
