#include "cli/PatchReader.h"

#include "cli/Discovery.h"
#include "cli/Json.h"
#include "lv1/HostChoice.h"

#include <algorithm>
#include <utility>

namespace corvane::cli {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds patchTimeout = 10s;
constexpr auto silenceTimeout = 300ms;
/// A console that never falls silent (somebody plays with its colours) is not waited for longer than this.
constexpr auto settlingTimeout = 5s;

/// Whether a status says what is being done, and not how it ended.
bool isProgress(const std::string &status) {
    return status.ends_with("…") || status.starts_with("LV1 found: ");
}

} // namespace

std::string PatchReader::Console::text() const {
    if (host.empty())
        return name;
    const std::string address = host + ":" + std::to_string(port);
    return name.empty() ? address : name + " (" + address + ")";
}

PatchReader::PatchReader(const CommandContext &context)
    : platform(context.platform), output(context.output), source(context.options.source),
      timeout(context.options.duration.value_or(patchTimeout)) {}

void PatchReader::start() {
    client = LV1Client::make(platform);
    wireClient();
    if (source.host)
        heardConsole = {"", "", *source.host, source.port, platform.main.now(), false};
    deadline =
        platform.main.after(timeout, weakly(weak_from_this(), [](PatchReader &reader) { reader.giveUp(); }));
    beginConnecting(*client, source);
    if (source.host && client && !client->connection)
        fail(lastStatus); // no address to connect to
}

void PatchReader::stop() {
    deadline.cancel();
    silence.cancel();
    if (auto leaving = std::exchange(client, nullptr))
        leaving->stop();
}

void PatchReader::wireClient() {
    const auto wire = [weak = weak_from_this()](auto action) {
        return [weak, action](const auto &what) {
            const auto reader = weak.lock();
            if (reader && reader->client)
                action(*reader, what);
        };
    };
    client->onStatus = wire([](PatchReader &reader, const std::string &text) {
        reader.lastStatus = text;
        reader.output.progress(text);
    });
    // The client tells of each host once; consoles announce themselves again and again.
    client->multicast->onEndpoint = [weak = weak_from_this(),
                                     tell = client->multicast->onEndpoint](const LV1Endpoint &endpoint) {
        if (const auto reader = weak.lock())
            reader->heard(endpoint);
        tell(endpoint);
    };
    client->onServices =
        wire([](PatchReader &reader, const auto &services) { reader.heardServices(services); });
    client->onEndpoints = wire([](PatchReader &reader, const std::vector<LV1Endpoint> &endpoints) {
        if (endpoints.size() > 1)
            reader.fail(severalHosts(*reader.client));
    });
    client->onLinkEvent =
        wire([](PatchReader &reader, const LV1LinkEvent &event) { reader.happened(event); });
}

void PatchReader::heard(const LV1Endpoint &endpoint) {
    heardConsole = {endpoint.name, "multicast",         endpoint.host,
                    endpoint.port, platform.main.now(), heardConsole.accepted};
}

void PatchReader::heardServices(const std::vector<std::shared_ptr<NetService>> &services) {
    if (heardConsole.way != "multicast" && !services.empty()) {
        const auto address = addressOf(*services.front()).value_or(std::pair(std::string(), 0));
        heardConsole = {services.front()->name(), "Bonjour",           address.first,
                        address.second,           platform.main.now(), heardConsole.accepted};
    }
    if (chooseHost(*client, client->endpoints, services))
        fail(severalHosts(*client));
}

void PatchReader::happened(const LV1LinkEvent &event) {
    if (std::holds_alternative<lv1::Introduced>(event))
        return; // not a message of the console
    if (std::holds_alternative<lv1::Accepted>(event))
        heardConsole.accepted = true;
    if (std::holds_alternative<lv1::Failed>(event))
        return fail(lastStatus);
    if (std::holds_alternative<lv1::Closed>(event))
        return patchCame ? finishAfter(0ms) : fail(lastStatus); // a clean close: all it sent has arrived
    if (const auto *patch = std::get_if<lv1::Patch>(&event)) {
        channels = *patch->channels;
        if (!std::exchange(patchCame, true))
            latestEnd = platform.main.now() + settlingTimeout;
    } else if (const auto *colours = std::get_if<lv1::Colours>(&event)) {
        channels = *colours->channels;
    }
    waitForSilence();
}

/// The console said something: its silence begins anew.
void PatchReader::waitForSilence() {
    if (!patchCame)
        return;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(latestEnd - platform.main.now());
    finishAfter(std::clamp<std::chrono::milliseconds>(left, 0ms, silenceTimeout));
}

void PatchReader::finishAfter(std::chrono::milliseconds delay) {
    silence.cancel();
    silence =
        platform.main.after(delay, weakly(weak_from_this(), [](PatchReader &reader) { reader.finish(); }));
}

void PatchReader::giveUp() {
    if (patchCame)
        return; // only the silence is still waited for
    fail(whyNothingCame());
}

std::string PatchReader::whyNothingCame() const {
    if (heardConsole.accepted)
        return heardConsole.text() + " has sent no patch.\n  See that channels have inputs on the console.";
    if (!lastStatus.empty() && !isProgress(lastStatus))
        return lastStatus;
    if (!heardConsole.host.empty())
        return heardConsole.host + " does not answer on port " + std::to_string(heardConsole.port) + ".";
    if (!heardConsole.name.empty())
        return lastStatus;
    return nothingHeard(*client->multicast, *client->browser, timeout);
}

void PatchReader::finish() {
    if (auto told = std::exchange(onPatch, nullptr)) {
        stop();
        told(channels);
    }
}

void PatchReader::fail(const std::string &message) {
    onPatch = nullptr; // one of the two is called
    if (auto told = std::exchange(onFailure, nullptr))
        told({status::noAnswer, message});
}

} // namespace corvane::cli
