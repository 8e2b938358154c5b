#include "cli/Commands.h"
#include "cli/Discovery.h"
#include "cli/Json.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "lv1/HostChoice.h"
#include "lv1/LV1Client.h"
#include "patch/PatchDocument.h"

#include <utility>

namespace corvane::cli {

namespace {

/// Prints every callback of the console client, one JSON object a line.
class WatchCommand : public Command {
public:
    explicit WatchCommand(const CommandContext &context) : context(context) {}

    void stop() override {
        if (const auto leaving = std::exchange(client, nullptr))
            leaving->stop(); // what it reports now finds no client and is not printed
    }

private:
    void start() override {
        client = LV1Client::make(context.platform);
        wireConsole();
        wireDiscovery();
        const auto self = std::static_pointer_cast<WatchCommand>(shared_from_this());
        if (const auto duration = context.options.duration)
            context.platform.main.after(
                *duration, weakly(std::weak_ptr(self), [](WatchCommand &command) { command.end(); }));
        beginConnecting(*client, context.options.source);
    }

    /// A callback that does nothing once the command has been stopped.
    template <class Action>
    auto wire(Action action) {
        const auto self = std::static_pointer_cast<WatchCommand>(shared_from_this());
        return [weak = std::weak_ptr(self), action](const auto &what) {
            const auto command = weak.lock();
            if (command && command->client)
                command->guarded([&] { action(*command, what); });
        };
    }

    void wireConsole() {
        client->onStatus = wire([](WatchCommand &command, const std::string &text) { command.status(text); });
        client->onConnectionState = wire([](WatchCommand &command, bool connected) {
            command.print(line({{"event", "connection"}, {"connected", connected}}));
        });
        client->onPatch = wire([](WatchCommand &command, const std::vector<LV1Channel> &channels) {
            const Json signature = LiveTraxGenerator::patchSignature(channels);
            command.print(R"({"event":"patch","signature":)" + line(signature) + R"(,"channels":)" +
                          channelArray(channels) + "}");
        });
        client->onChannels = wire([](WatchCommand &command, const std::vector<LV1Channel> &channels) {
            command.print(R"({"event":"channels","channels":)" + channelArray(channels) + "}");
        });
        client->onScene = wire([](WatchCommand &command, const std::string &name) {
            command.print(line({{"event", "scene"}, {"name", name}}));
        });
    }

    void wireDiscovery() {
        client->onEndpoints = wire([](WatchCommand &command, const std::vector<LV1Endpoint> &endpoints) {
            Json list = Json::array();
            for (const auto &endpoint : endpoints)
                list.push_back(endpointJson(endpoint));
            command.print(line({{"event", "endpoints"}, {"endpoints", list}}));
        });
        client->onServices =
            wire([](WatchCommand &command, const std::vector<std::shared_ptr<NetService>> &services) {
                Json list = Json::array();
                for (const auto &service : services)
                    list.push_back(serviceJson(*service));
                command.print(line({{"event", "services"}, {"services", list}}));
                if (const auto text = chooseHost(*command.client, command.client->endpoints, services))
                    command.status(*text);
            });
    }

    void status(const std::string &text) { print(line({{"event", "status"}, {"text", text}})); }
    void print(const std::string &text) { context.output.print(text + "\n"); }

    CommandContext context;
    std::shared_ptr<LV1Client> client;
};

} // namespace

std::shared_ptr<Command> makeWatchCommand(const CommandContext &context) {
    return std::make_shared<WatchCommand>(context);
}

} // namespace corvane::cli
