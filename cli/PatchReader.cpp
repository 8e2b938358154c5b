#include "cli/PatchReader.h"

#include "cli/Discovery.h"
#include "lv1/HostChoice.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

namespace corvane::cli {

namespace {

using namespace std::chrono_literals;

constexpr auto silenceAfterPatch = 300ms;
/// A console that never falls silent (somebody plays with its colours) is not waited for longer than this.
constexpr auto longestSettling = 5s;

/// How the statuses begin that are the last ones of a link. An interruption is not: an error follows it.
constexpr std::string_view closing = "LV1 closed the connection.";
constexpr std::array<std::string_view, 3> endings = {"Connection error: ", closing, "Invalid LV1 port"};

bool begins(const std::string &status, std::string_view with) {
    return status.rfind(with, 0) == 0;
}

bool isEnding(const std::string &status) {
    return std::any_of(endings.begin(), endings.end(),
                       [&](std::string_view ending) { return begins(status, ending); });
}

} // namespace

PatchReader::PatchReader(Platform &platform, Output &output, ChannelSourceOptions source,
                         std::chrono::milliseconds patience)
    : platform(platform), output(output), source(std::move(source)), patience(patience) {}

void PatchReader::start() {
    client = LV1Client::make(platform);
    wireClient();
    patienceEnd =
        platform.main.after(patience, weakly(weak_from_this(), [](PatchReader &reader) { reader.giveUp(); }));
    beginConnecting(*client, source);
}

void PatchReader::stop() {
    onPatch = nullptr;
    onFailure = nullptr;
    patienceEnd.cancel();
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
    client->onStatus = wire([](PatchReader &reader, const std::string &text) { reader.heardStatus(text); });
    client->onServices =
        wire([](PatchReader &reader, const auto &services) { reader.heardServices(services); });
    client->onPatch = wire([](PatchReader &reader, const Channels &) {
        if (!std::exchange(reader.patchCame, true))
            reader.latestEnd = reader.platform.main.now() + longestSettling;
    });
    client->onChannels = wire([](PatchReader &reader, const Channels &list) {
        reader.channels = list;
        reader.waitForSilence();
    });
    client->onScene = wire([](PatchReader &reader, const std::string &) { reader.waitForSilence(); });
    client->onConnectionState = wire([](PatchReader &reader, bool) { reader.waitForSilence(); });
    const auto other = wire([](PatchReader &reader, std::nullptr_t) { reader.waitForSilence(); });
    client->onOtherMessage = [other] { other(nullptr); };
}

void PatchReader::heardStatus(const std::string &text) {
    lastStatus = text;
    output.progress(text);
    if (patchCame && begins(text, closing))
        return finishAfter(0ms); // in order: all that it had to say is there
    const bool several = client->endpoints.size() > 1 && text == LV1Client::severalHostsStatus;
    if (several || isEnding(text))
        fail(text);
}

void PatchReader::heardServices(const std::vector<std::shared_ptr<NetService>> &services) {
    if (source.host)
        return;
    if (const auto text = chooseHost(*client, client->endpoints, services))
        fail(*text);
}

void PatchReader::waitForSilence() {
    if (!patchCame)
        return;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(latestEnd - platform.main.now());
    finishAfter(std::clamp<std::chrono::milliseconds>(left, 0ms, silenceAfterPatch));
}

void PatchReader::finishAfter(std::chrono::milliseconds delay) {
    silence.cancel();
    silence =
        platform.main.after(delay, weakly(weak_from_this(), [](PatchReader &reader) { reader.finish(); }));
}

void PatchReader::giveUp() {
    if (patchCame)
        return; // only the silence is still waited for
    const bool heardNothing = client && !source.host && client->endpoints.empty() && client->services.empty();
    const auto obstacles = heardNothing ? discoveryObstacles(*client->multicast, *client->browser) : "";
    if (!obstacles.empty())
        fail(obstacles);
    else if (!lastStatus.empty())
        fail(lastStatus);
    else // a host that was named and does not even refuse
        fail(source.host.value_or("") + " does not answer on port " + std::to_string(source.port) + ".");
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
