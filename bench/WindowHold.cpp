// How long the window's main thread is held at a time by what a large console sends: a patch of 1,000
// channels, and a burst of 1,000 colours. Prints, for each, the longest hold by the clock and in the thread's
// own time (which other programs on the machine do not lengthen), and the time for all of it. Fails when a
// hold is above the limit in the thread's own time; given a file, it writes the holds there as JSON and
// passes no verdict.
//
//   window_hold [FILE]

#include "app/BridgeController.h"
#include "app/Look.h"
#include "app/MainWindow.h"
#include "app/QtMainQueue.h"
#include "tests/fakes/FakeSystem.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEventLoop>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace {

using namespace corvane;
using Channels = std::vector<LV1Channel>;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::int32_t channelCount = 1000;
constexpr double limit = 16; // milliseconds: a frame

Channels largePatch(std::int32_t firstInput) {
    Channels list;
    for (std::int32_t number = 0; number < channelCount; ++number)
        list.emplace_back("Channel " + std::to_string(number + 1), number % 4 == 0, "SoundGrid",
                          firstInput + 2 * number, "Mixer_Ch", number + 1);
    return list;
}

/// A platform of fakes whose main queue is the real one.
struct WindowPlatform {
    QtMainQueue main;
    TemporaryFolder folder;
    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    Platform platform{main,
                      std::make_unique<ManualQueues>(clock),
                      std::make_unique<FakeNetwork>(),
                      std::make_unique<FakeMulticastListening>(),
                      std::make_unique<FakeStandardFolders>(folder.path()),
                      std::make_unique<FakeBundleResources>(),
                      std::make_unique<FakeUserDefaults>(),
                      std::make_unique<FakeRunningApplications>(),
                      std::make_unique<FakeProcessLauncher>(),
                      std::make_unique<FakeHostInformation>(),
                      std::make_unique<FakeWallClock>(),
                      [] { return std::make_unique<FakeServiceBrowser>(); }};
};

/// How long the event loop does not come round.
struct Hold {
    Milliseconds clock{};  ///< as the user feels it
    Milliseconds thread{}; ///< the thread's own work
};

Milliseconds threadTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// Measures the longest hold as long as it lives.
class Heartbeat {
public:
    Heartbeat() {
        QObject::connect(&timer, &QTimer::timeout, [this] { beat(); });
        timer.start(0);
    }
    const Hold &longest() const { return longestHold; }

private:
    void beat() {
        const auto clock = SerialQueue::Clock::now();
        const Milliseconds thread = threadTime();
        longestHold.clock = std::max(longestHold.clock, Milliseconds(clock - lastClock));
        longestHold.thread = std::max(longestHold.thread, thread - lastThread);
        lastClock = clock;
        lastThread = thread;
    }
    QTimer timer;
    SerialQueue::Clock::time_point lastClock = SerialQueue::Clock::now();
    Milliseconds lastThread = threadTime();
    Hold longestHold;
};

/// Lets the event loop turn as in the program; QTest's own waits sleep between its turns.
void turnFor(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

class WindowHold {
public:
    WindowHold() {
        window.setController(controller);
        controller->applicationDidFinishLaunching();
        window.findChild<QAbstractButton *>(QStringLiteral("patchButton"))->click();
        turnFor(500); // opened
    }

    /// Has `send` post its tasks from another thread, waits until all have run and been painted; the longest
    /// hold.
    Hold measure(const char *what, const std::function<void(QtMainQueue &, LV1Client &)> &send) {
        turnFor(50);
        const Heartbeat heartbeat;
        QEventLoop loop;
        const auto start = SerialQueue::Clock::now();
        std::thread network([&] {
            send(system.main, *controller->client);
            system.main.post([&loop] { loop.quit(); });
        });
        loop.exec();
        const Milliseconds total = SerialQueue::Clock::now() - start;
        network.join();
        turnFor(50); // painted
        std::printf("%-36s longest hold %6.2f ms, own time %6.2f ms; all %8.2f ms\n", what,
                    heartbeat.longest().clock.count(), heartbeat.longest().thread.count(), total.count());
        return heartbeat.longest();
    }

private:
    WindowPlatform system;
    MainWindow window{*system.platform.resources};
    std::shared_ptr<BridgeController> controller = BridgeController::make(system.platform, window);
};

/// As the console's link reports a patch: one task.
void sendPatch(QtMainQueue &main, LV1Client &client, const std::shared_ptr<const Channels> &list) {
    main.post([&client, list] {
        client.onStatus("Synced: 1000 tracks / 1250 inputs");
        client.onPatch(*list);
        client.onChannels(*list);
    });
}

/// As it reports colours: one task for each, with the whole list.
void sendColours(QtMainQueue &main, LV1Client &client, Channels list) {
    for (LV1Channel &channel : list) {
        channel.red = 1;
        main.post(
            [&client, snapshot = std::make_shared<const Channels>(list)] { client.onChannels(*snapshot); });
    }
}

} // namespace

int main(int argumentCount, char **arguments) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argumentCount, arguments);
    look::apply(application);
    WindowHold hold;
    const auto first = std::make_shared<const Channels>(largePatch(0));
    const auto second = std::make_shared<const Channels>(largePatch(1));
    Milliseconds longest{};
    std::string rows;
    const auto measure = [&](const char *what, const std::function<void(QtMainQueue &, LV1Client &)> &send) {
        const Hold held = hold.measure(what, send);
        longest = std::max(longest, held.thread);
        rows += (rows.empty() ? "{\"" : ",\n \"") + std::string(what) +
                "\": {\"clock\": " + std::to_string(held.clock.count()) +
                ", \"thread\": " + std::to_string(held.thread.count()) + "}";
    };
    measure("first patch of 1,000 channels",
            [&](auto &main, auto &client) { sendPatch(main, client, first); });
    measure("the same patch again", [&](auto &main, auto &client) { sendPatch(main, client, first); });
    measure("1,000 colours, patch synchronised",
            [&](auto &main, auto &client) { sendColours(main, client, *first); });
    measure("a patch with 1,000 changes", [&](auto &main, auto &client) { sendPatch(main, client, second); });
    measure("1,000 colours, patch pending",
            [&](auto &main, auto &client) { sendColours(main, client, *second); });
    std::printf("longest hold of all, own time: %.2f ms, limit %.0f ms\n", longest.count(), limit);
    if (argumentCount > 1)
        return std::ofstream(arguments[1]) << rows << "}\n" ? 0 : 1;
    return longest.count() <= limit ? 0 : 1;
}
