#include "fuzz/Fuzzing.h"
#include "lv1/LV1Client.h"
#include "osc/OSCCodec.h"
#include "patch/PatchDocument.h"
#include "tests/fakes/FakeSystem.h"

#include <string>
#include <variant>

using namespace corvane;

namespace {

/// A negative count of channels stops the program on purpose, so no hostile console may send one here.
bool stopsOnPurpose(Bytes stream) {
    for (const auto &message : OSCCodec::readFrames(stream)) {
        if (message.address != "/Notify/IOConnections" || message.values.empty())
            continue;
        const auto *count = std::get_if<std::int32_t>(&message.values.front());
        if (count != nullptr && *count < 0)
            return true;
    }
    return false;
}

/// What a client reports of a stream that comes in pieces of these sizes, and what it answers.
std::string told(FakePlatform &fake, const Bytes &stream, Choices sizes) {
    std::string diary;
    const auto client = LV1Client::make(fake.platform);
    client->onStatus = [&](const std::string &text) { diary += text + "\n"; };
    client->onChannels = [&](const auto &channels) { diary += "channels " + channelArray(channels) + "\n"; };
    client->onPatch = [&](const auto &channels) { diary += "patch " + channelArray(channels) + "\n"; };
    client->onConnectionState = [&](bool connected) { diary += connected ? "up\n" : "down\n"; };
    client->onScene = [&](const std::string &name) { diary += "scene " + name + "\n"; };
    client->connect("10.0.0.1", 5000);
    fake.clock->run();
    const auto connection = fake.network->streams.back();
    connection->becomeReady();
    fake.clock->run();
    for (std::size_t at = 0; at < stream.size();) {
        const auto count =
            std::min<std::size_t>(sizes.atEnd() ? stream.size() : 1 + sizes.byte(), stream.size() - at);
        connection->deliver(Bytes(stream.begin() + static_cast<std::ptrdiff_t>(at),
                                  stream.begin() + static_cast<std::ptrdiff_t>(at + count)));
        fake.clock->run();
        at += count;
    }
    connection->closeByPeer();
    fake.clock->advance(std::chrono::seconds(1));
    for (const auto &sent : connection->sent)
        diary.append(sent.begin(), sent.end());
    client->stop();
    fake.clock->run();
    fake.network->streams.clear();
    return diary;
}

} // namespace

/// A console that sends anything: how its stream is cut into reads makes no difference to what is told.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static FakePlatform fake;
    const auto chosen = std::min<std::size_t>(size, 8);
    const Bytes stream(data + chosen, data + size);
    if (stopsOnPurpose(stream))
        return 0;
    const auto atOnce = told(fake, stream, Choices(data, 0));
    require(told(fake, stream, Choices(data, chosen)) == atOnce, "the same is told in pieces as at once");
    return 0;
}
