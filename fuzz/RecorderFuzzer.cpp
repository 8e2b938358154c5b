#include "base/UTF8.h"
#include "fuzz/Fuzzing.h"
#include "livetrax/remote/LiveTraxOSC.h"
#include "osc/OSCCodec.h"
#include "tests/fakes/FakeNetwork.h"
#include "tests/fakes/ManualQueue.h"

#include <memory>
#include <set>
#include <string>
#include <variant>

using namespace corvane;

namespace {

/// A name as a console can give it. Few of them are common, so that they come again.
std::string sceneName(Choices &choices) {
    if (choices.yes())
        return std::string(1, "AB "[choices.below(3)]);
    const std::string text = choices.text(12);
    const std::string name = text.substr(0, text.find('\0'));
    return isValidUTF8(name) ? name : "";
}

/// By the names that its markers have, the recorder never finds one that "/marker" would go to.
void requireNothingIsGoneTo(const FakeNetwork &network) {
    std::set<std::string> names;
    std::size_t nameless = 0;
    for (const auto &connection : network.datagrams)
        for (const auto &sent : connection->sent) {
            const auto message = OSCCodec::parse(sent.datagram);
            require(message.has_value(), "what is sent is a message");
            const auto *name =
                message->values.empty() ? nullptr : std::get_if<std::string>(&message->values.front());
            if (message->address == "/marker")
                require(name != nullptr && !names.contains(*name), "a marker that exists is not gone to");
            if (message->address == "/marker" || message->address == "/add_marker")
                names.insert(name != nullptr ? *name : "mark" + std::to_string(++nameless));
        }
}

} // namespace

/// A recorder that answers anything at any time, fails and comes back, while queries, saves and markers are
/// under way: each query is answered at most once, nothing is told to a client that is gone, and no marker
/// makes the recorder's playhead go anywhere.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    Choices choices(data, size);
    const auto clock = std::make_shared<ManualClock>();
    ManualQueue main(clock, "main");
    const auto queue = std::make_shared<ManualQueue>(clock, "Corvane.LiveTraxOSC");
    FakeNetwork network;
    auto client = std::make_unique<LiveTraxOSC>(main, queue, network);
    std::size_t queries = 0;
    std::size_t answers = 0;
    bool gone = false;
    const auto told = [&] { require(!gone, "nothing is told to a client that is gone"); };
    client->onFailure = [&](const std::error_code &, const std::string &) { told(); };
    client->onMarkerLost = [&](const std::string &, const std::string &) { told(); };

    while (!choices.atEnd()) {
        network.datagramsBecomeReady = choices.yes();
        const auto connection = network.datagrams.empty() ? nullptr : network.datagrams.back();
        switch (choices.below(10)) {
        case 0:
            client->start();
            break;
        case 1:
            client->stop();
            break;
        case 2:
            ++queries;
            client->queryTransport([&, called = false](std::optional<TransportState>) mutable {
                told();
                require(!called, "a query is answered once");
                called = true;
                ++answers;
            });
            break;
        case 3:
            client->save([&](const SendReport &) { told(); });
            break;
        case 4:
            client->addSceneMarker(sceneName(choices), [&](const SendReport &) { told(); });
            break;
        case 5:
            if (connection)
                connection->becomeReady();
            break;
        case 6:
            if (connection)
                connection->breakOff(std::errc::connection_refused);
            break;
        case 7:
        case 8: {
            const auto datagram = choices.text(60);
            if (connection)
                connection->deliver(Bytes(datagram.begin(), datagram.end()));
            break;
        }
        default:
            clock->advance(std::chrono::milliseconds(choices.byte()));
        }
        if (choices.yes())
            clock->run();
    }
    if (choices.yes())
        clock->advance(std::chrono::seconds(10));
    client.reset();
    gone = true;
    clock->advance(std::chrono::seconds(10));
    require(answers <= queries, "no answer without a query");
    require(clock->pending() == 0, "no work is left behind");
    requireNothingIsGoneTo(network);
    // The fakes and their queue hold each other.
    for (const auto &each : network.datagrams)
        each->cancel();
    clock->run();
    return 0;
}
