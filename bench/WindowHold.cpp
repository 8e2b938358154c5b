// How long the window's main thread is held at a time by what a large console sends: a patch of 1,000
// channels, and a burst of 1,000 colours. Prints, for each, the longest hold by the clock and in the thread's
// own time (which other programs on the machine do not lengthen), and the time for all of it; then what a
// single colour costs that thread with 128 and with 1,024 channels, the patch view closed and open. Fails
// when a hold is above the limit in the thread's own time; given a file, it writes what it measured there as
// JSON and passes no verdict.
//
//   window_hold [FILE]

#include "app/BridgeController.h"
#include "app/Look.h"
#include "app/MainWindow.h"
#include "app/QtMainQueue.h"
#include "bench/BenchPlatform.h"
#include "bench/ConsoleMessages.h"
#include "tests/support/Peers.h"
#include "tests/support/PrivateNetwork.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

namespace {

using namespace corvane;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int channelCount = 1000;
constexpr double limit = 16; // milliseconds: a frame
// One colour at a time, as many a second as a lively show has.
constexpr int singleColours = 400;
constexpr std::chrono::milliseconds betweenColours{5};

Bytes patch(int firstInput, int channels = channelCount) {
    auto message = patchMessage(channels);
    for (int number = 0; number < channels; ++number)
        message.values[static_cast<std::size_t>(7 * number + 4)] = firstInput + 2 * number;
    return OSCCodec::frame(encoded(message));
}

Bytes colours() {
    Bytes all;
    for (int number = 0; number < channelCount; ++number) {
        const auto frame = OSCCodec::frame(encoded(colourMessage(number)));
        all.insert(all.end(), frame.begin(), frame.end());
    }
    return all;
}

Bytes lastWord() {
    return OSCCodec::frame(encoded({"/Notify/Scene/Name", {"Encore"}}));
}

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

/// The window, linked to a console that is played here.
class WindowHold {
public:
    WindowHold() {
        window.setController(controller);
        controller->applicationDidFinishLaunching();
        togglePatchView();
        controller->client->connect("127.0.0.1", listener.port());
        console = std::make_unique<StreamPeer>(listener.accept());
        turnFor(100); // greeted
        // What comes after everything else on the link.
        controller->client->onScene = [this](const std::string &) { loop.quit(); };
    }
    ~WindowHold() { controller->applicationWillTerminate(); }

    void togglePatchView() {
        window.findChild<QAbstractButton *>(QStringLiteral("patchButton"))->click();
        turnFor(500); // opened or closed
    }

    /// The main thread's own time for one of many colours that come one after another, each a new one.
    Milliseconds colourCost(int channels, float red) {
        turnFor(200);
        const Milliseconds before = threadTime();
        std::thread sending([&] {
            for (int sent = 0; sent < singleColours; ++sent) {
                auto message = colourMessage(sent % channels);
                message.values[3] = red + static_cast<float>(sent) / (4 * singleColours);
                console->write(OSCCodec::frame(encoded(message)));
                std::this_thread::sleep_for(betweenColours);
            }
            console->write(lastWord());
        });
        loop.exec();
        turnFor(50); // painted
        sending.join();
        return (threadTime() - before) / singleColours;
    }

    /// Has the console say this, waits until all of it has been taken in and painted; the longest hold.
    Hold measure(const char *what, const Bytes &message) {
        turnFor(50);
        const Heartbeat heartbeat;
        const auto start = SerialQueue::Clock::now();
        std::thread sending([&] {
            console->write(message);
            console->write(lastWord());
        });
        loop.exec();
        const Milliseconds total = SerialQueue::Clock::now() - start;
        sending.join();
        turnFor(50); // painted
        std::printf("%-36s longest hold %6.2f ms, own time %6.2f ms; all %8.2f ms\n", what,
                    heartbeat.longest().clock.count(), heartbeat.longest().thread.count(), total.count());
        return heartbeat.longest();
    }

private:
    BenchPlatform<QtMainQueue> system;
    MainWindow window{system.platform.resources};
    std::shared_ptr<BridgeController> controller = BridgeController::make(system.platform, window);
    QEventLoop loop;
    StreamListener listener;
    std::unique_ptr<StreamPeer> console;
};

} // namespace

int main(int argumentCount, char **arguments) {
    std::string reason;
    if (!PrivateNetwork::enter(reason)) { // the recorder's ports, and nobody else's network
        std::fprintf(stderr, "no network namespace of its own: %s\n", reason.c_str());
        return 1;
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argumentCount, arguments);
    look::apply(application);

    WindowHold hold;
    Milliseconds longest{};
    std::string rows;
    const auto measure = [&](const char *what, const Bytes &message) {
        const Hold held = hold.measure(what, message);
        longest = std::max(longest, held.thread);
        rows += (rows.empty() ? "{\"" : ",\n \"") + std::string(what) +
                "\": {\"clock\": " + std::to_string(held.clock.count()) +
                ", \"thread\": " + std::to_string(held.thread.count()) + "}";
    };
    measure("first patch of 1,000 channels", patch(0));
    measure("the same patch again", patch(0));
    measure("1,000 colours, patch synchronised", colours());
    measure("a patch with 1,000 changes", patch(1));
    measure("1,000 colours, patch pending", colours());
    std::printf("longest hold of all, own time: %.2f ms, limit %.0f ms\n", longest.count(), limit);
    for (const int channels : {128, 1024}) {
        const auto count = std::to_string(channels);
        hold.measure(("a patch of " + count + " channels").c_str(), patch(0, channels));
        const Milliseconds open = hold.colourCost(channels, 0);
        hold.togglePatchView();
        const Milliseconds closed = hold.colourCost(channels, 0.5F);
        hold.togglePatchView();
        std::printf("a colour of %d channels: %.0f us with the patch view closed, %.0f us with it open\n",
                    channels, 1e3 * closed.count(), 1e3 * open.count());
        rows += ",\n \"colour of " + count + "\": {\"closed\": " + std::to_string(closed.count()) +
                ", \"open\": " + std::to_string(open.count()) + "}";
    }
    if (argumentCount > 1)
        return std::ofstream(arguments[1]) << rows << "}\n" ? 0 : 1;
    return longest.count() <= limit ? 0 : 1;
}
