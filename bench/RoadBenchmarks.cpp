#include "app/BridgeController.h"
#include "bench/BenchPlatform.h"
#include "bench/ConsoleMessages.h"
#include "livetrax/session/LiveTraxGenerator.h"
#include "platform/queues/AsioMainQueue.h"
#include "tests/app/FakeView.h"
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

/// The controller with real sockets and threads, linked to a console and a recorder that are played here. Its
/// view keeps what it is told.
class Road {
public:
    Road() {
        system.applications->running["com.harrisonconsoles.LiveTrax3"] =
            std::make_shared<FakeRunningApplication>();
        system.platform.defaults->set(LiveTraxGenerator::lastSessionKey, system.folder.path().string());
        controller->applicationDidFinishLaunching();
        controller->client->onConnectionState = [this](bool) { main.quit(); };
        controller->client->connect("127.0.0.1", listener.port());
        std::thread accepting([this] { console = std::make_unique<StreamPeer>(listener.accept()); });
        runMain();
        accepting.join();
    }
    ~Road() { controller->applicationWillTerminate(); }

    void runMain() {
        const auto limit = main.after(10s, [] { throw std::runtime_error("nothing happened"); });
        main.run();
        limit.cancel();
    }

    const DatagramPeer recorder{3819};
    BenchPlatform<AsioMainQueue> system;
    AsioMainQueue &main = system.main;
    FakeView view;
    std::shared_ptr<BridgeController> controller = BridgeController::make(system.platform, view);
    StreamListener listener;
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
    const auto react = road.controller->client->onPatch;
    road.controller->client->onPatch = [&](const std::vector<LV1Channel> &channels) {
        arrived = Clock::now();
        react(channels);
        road.main.quit();
    };
    road.console->write(patch);
    road.runMain();
    std::vector<double> times;
    for (auto _ : state) {
        Clock::time_point sent;
        std::thread speaking([&] {
            for (int i = 0; i < 10; ++i) {
                road.console->write(OSCCodec::frame(encoded(colourMessage(i))));
                std::this_thread::sleep_for(500us);
            }
            sent = Clock::now();
            road.console->write(patch);
        });
        road.runMain();
        speaking.join();
        const double seconds = std::chrono::duration<double>(arrived - sent).count();
        state.SetIterationTime(seconds);
        times.push_back(seconds);
    }
    report(state, times);
}

/// Reads what the recorder is sent up to the marker's name.
void awaitMarker(const DatagramPeer &recorder) {
    for (;;) {
        const auto message = OSCCodec::parse(recorder.receive());
        if (message && message->address == "/marker")
            return;
    }
}

/// From a scene's bytes on the console's socket to "/marker" on the recorder's, less the 130 ms that the
/// marker's name waits on purpose.
void sceneToMarker(benchmark::State &state) {
    Road road;
    int number = 0;
    const auto recall = [&] {
        road.console->write(
            OSCCodec::frame(encoded({"/Notify/Scene/Name", {"Verse " + std::to_string(++number)}})));
    };
    recall(); // the first one is only remembered
    std::vector<double> times;
    for (auto _ : state) {
        Clock::time_point arrived;
        std::thread listening([&] {
            awaitMarker(road.recorder);
            arrived = Clock::now();
            road.main.post([&] { road.main.quit(); });
        });
        const auto sent = Clock::now();
        recall();
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
