#include "bench/ConsoleMessages.h"

#include "livetrax/remote/LiveTraxOSC.h"
#include "lv1/LV1Client.h"
#include "platform/AsioMainQueue.h"
#include "platform/AsioNetwork.h"
#include "platform/AsioRuntime.h"
#include "tests/fakes/FakeSystem.h"
#include "tests/support/Peers.h"
#include "tests/support/PrivateNetwork.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace corvane {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// A client with real sockets and threads, linked to a console that is played here.
class Road {
public:
    Road() {
        auto runtime = std::make_unique<AsioRuntime>();
        platform.network = std::make_unique<AsioNetwork>(*runtime);
        platform.queues = std::move(runtime);
        platform.multicast = std::make_unique<FakeMulticastListening>();
        platform.defaults = std::make_unique<FakeUserDefaults>();
        platform.host = std::make_unique<FakeHostInformation>();
        platform.makeServiceBrowser = [] { return std::make_unique<FakeServiceBrowser>(); };
        client = LV1Client::make(platform);
        client->onConnectionState = [this](bool) { main.quit(); };
        client->connect("127.0.0.1", listener.port());
        std::thread accepting([this] { console = std::make_unique<StreamPeer>(listener.accept()); });
        runMain();
        accepting.join();
        client->onConnectionState = nullptr;
    }
    ~Road() {
        client->stop();
        client.reset();
    }

    void runMain() {
        const auto limit = main.after(10s, [] { throw std::runtime_error("nothing happened"); });
        main.run();
        limit.cancel();
    }

    AsioMainQueue main;
    Platform platform{main, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}};
    StreamListener listener;
    std::shared_ptr<LV1Client> client;
    std::unique_ptr<StreamPeer> console;
};

void report(benchmark::State &state, std::vector<double> seconds) {
    std::sort(seconds.begin(), seconds.end());
    const auto at = [&](double part) {
        return seconds[static_cast<std::size_t>(part * static_cast<double>(seconds.size() - 1))] * 1e6;
    };
    state.counters["p50 us"] = at(0.5);
    state.counters["p99 us"] = at(0.99);
    state.counters["max us"] = at(1);
}

/// From the first byte of a patch on the console's socket to `onPatch` on the main queue, while colours
/// stream in at 2000 a second.
void consoleToPatch(benchmark::State &state) {
    Road road;
    const auto patch = OSCCodec::frame(encoded(patchMessage(static_cast<int>(state.range(0)))));
    Clock::time_point arrived;
    road.client->onPatch = [&](const auto &) {
        arrived = Clock::now();
        road.main.quit();
    };
    road.console->write(patch);
    road.runMain();
    std::vector<double> times;
    for (auto _ : state) {
        for (int i = 0; i < 10; ++i) {
            road.console->write(OSCCodec::frame(encoded(colourMessage(i))));
            std::this_thread::sleep_for(500us);
        }
        const auto sent = Clock::now();
        road.console->write(patch);
        road.runMain();
        const double seconds = std::chrono::duration<double>(arrived - sent).count();
        state.SetIterationTime(seconds);
        times.push_back(seconds);
    }
    report(state, times);
}

/// From a scene's bytes on the console's socket to "/marker" on the recorder's, less the 130 ms that the
/// marker's name waits on purpose.
void sceneToMarker(benchmark::State &state) {
    Road road;
    const DatagramPeer recorder(3819);
    LiveTraxOSC osc(road.main, road.platform.queues->make("Corvane.LiveTraxOSC"), *road.platform.network);
    osc.start();
    road.client->onScene = [&](const std::string &name) {
        osc.addSceneMarker(name, [&](const auto &) { road.main.quit(); });
    };
    std::vector<double> times;
    for (auto _ : state) {
        Clock::time_point arrived;
        std::thread listening([&] {
            recorder.receive();
            recorder.receive();
            arrived = Clock::now();
        });
        const auto sent = Clock::now();
        road.console->write(OSCCodec::frame(encoded({"/Notify/Scene/Name", {"Verse 2"}})));
        road.runMain();
        listening.join();
        const double seconds = std::chrono::duration<double>(arrived - sent - 130ms).count();
        state.SetIterationTime(seconds);
        times.push_back(seconds);
    }
    report(state, times);
}

BENCHMARK(consoleToPatch)->ArgName("channels")->Arg(64)->Arg(1024)->UseManualTime()->Iterations(1000);
BENCHMARK(sceneToMarker)->UseManualTime()->Iterations(100)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace corvane

int main(int argc, char **argv) {
    // Port 3819 and nobody else's network.
    std::string reason;
    if (!corvane::PrivateNetwork::enter(reason)) {
        std::fprintf(stderr, "no network namespace of its own: %s\n", reason.c_str());
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
