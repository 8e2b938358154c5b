#include "cli/Json.h"
#include "cli/ListeningCommand.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "patch/PatchDocument.h"

namespace corvane::cli {

namespace {

/// Prints every callback of the console client, or those that were asked for, one JSON object a line.
class WatchCommand : public ListeningCommand {
    using ListeningCommand::ListeningCommand;

    void wire(LV1Client &console) override {
        console.onConnectionState = whileListening([this](bool connected) {
            if (wants("connection"))
                print(line({{"event", "connection"}, {"connected", connected}}));
        });
        console.onPatch = whileListening([this](const std::vector<LV1Channel> &channels) {
            const Json signature = LiveTraxGenerator::patchSignature(channels);
            if (wants("patch"))
                print(R"({"event":"patch","signature":)" + line(signature) + R"(,"channels":)" +
                      channelArray(channels) + "}");
        });
        console.onChannels = whileListening([this](const std::vector<LV1Channel> &channels) {
            if (wants("channels"))
                print(R"({"event":"channels","channels":)" + channelArray(channels) + "}");
        });
        console.onScene = whileListening([this](const std::string &name) {
            if (wants("scene"))
                print(line({{"event", "scene"}, {"name", name}}));
        });
        console.onEndpoints = whileListening([this](const std::vector<LV1Endpoint> &endpoints) {
            list("endpoints", endpoints, endpointJson);
        });
    }

    void servicesAre(const Services &services) override {
        list("services", services, [](const auto &service) { return serviceJson(*service); });
    }

    void statusIs(const std::string &text) override {
        if (wants("status"))
            print(line({{"event", "status"}, {"text", text}}));
    }

    template <class Hosts, class Describe>
    void list(const char *event, const Hosts &hosts, Describe describe) {
        if (!wants(event))
            return;
        Json all = Json::array();
        for (const auto &host : hosts)
            all.push_back(describe(host));
        print(line({{"event", event}, {event, all}}));
    }

    bool wants(const char *event) const {
        const auto &events = context.options.events;
        return events.empty() || events.count(event) > 0;
    }

    void print(const std::string &text) { context.output.print(text + "\n"); }
};

} // namespace

std::shared_ptr<Command> makeWatchCommand(const CommandContext &context) {
    return std::make_shared<WatchCommand>(context);
}

} // namespace corvane::cli
