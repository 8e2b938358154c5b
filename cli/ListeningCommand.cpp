#include "cli/ListeningCommand.h"

#include "cli/Discovery.h"
#include "lv1/HostChoice.h"

#include <utility>

namespace corvane::cli {

void ListeningCommand::start() {
    client = LV1Client::make(context.platform);
    client->onStatus = whileListening([this](const std::string &text) { statusIs(text); });
    client->onServices = whileListening([this](const Services &services) {
        servicesAre(services);
        if (const auto text = chooseHost(*client, client->endpoints, services))
            statusIs(*text);
    });
    wire(*client);
    if (const auto time = listeningTime())
        context.platform.main.after(
            *time, [told = whileListening([this](bool) { timeIsOver(*client); })] { told(true); });
    beginConnecting(*client, context.options.source);
}

void ListeningCommand::stop() {
    if (const auto leaving = std::exchange(client, nullptr))
        leaving->stop(); // what it reports now finds no client and is not told
}

} // namespace corvane::cli
