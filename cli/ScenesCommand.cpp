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
    explicit ScenesCommand(const Surroundings &surroundings) : surroundings(surroundings) {}

    void stop() override {
        if (const auto leaving = std::exchange(client, nullptr))
            leaving->stop();
    }

private:
    void start() override {
        if (surroundings.options.saveTo)
            openFile(*surroundings.options.saveTo);
        client = LV1Client::make(surroundings.platform);
        const auto self = std::static_pointer_cast<ScenesCommand>(shared_from_this());
        wire(self);
        if (const auto duration = surroundings.options.duration)
            surroundings.platform.main.after(
                *duration, weakly(std::weak_ptr(self), [](ScenesCommand &command) { command.end(); }));
        beginConnecting(*client, surroundings.options.source);
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

    void show(const std::string &status) { surroundings.output.progress(status); }

    /// What is there already is kept: it may be the first half of the evening.
    void openFile(const std::filesystem::path &path) {
        file.emplace(FileHandle::openForAppending(path));
        std::error_code unknown;
        if (std::filesystem::file_size(path, unknown) == 0 && !unknown)
            file->write(commaSeparated({{"time", "scene", "marked", "reason"}}));
    }

    void recalled(const std::string &name) {
        const Platform &platform = surroundings.platform;
        const SceneContext context{
            lastScene, LiveTraxGenerator::knownSessionURL(*platform.defaults, platform.folders).has_value(),
            [&] { return LiveTraxGenerator::runningApplication(platform) != nullptr; }};
        lastScene = name;
        const SceneRecall scene = recall(name, context, platform.clock());
        if (file)
            file->write(commaSeparated(
                {{timeOfDay(scene.time), scene.scene, scene.marked ? "true" : "false", scene.reason}}));
        surroundings.output.print(surroundings.options.json ? line(json(scene)) + "\n" : text(scene));
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

    Surroundings surroundings;
    std::shared_ptr<LV1Client> client;
    std::optional<std::string> lastScene;
    std::optional<FileHandle> file;
};

} // namespace

std::shared_ptr<Command> makeScenesCommand(const Surroundings &surroundings) {
    return std::make_shared<ScenesCommand>(surroundings);
}

} // namespace corvane::cli
