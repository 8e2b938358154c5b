#pragma once

#include "platform/net/AsioNetwork.h"
#include "platform/queues/AsioMainQueue.h"
#include "platform/queues/AsioRuntime.h"
#include "sim/ConsoleSim.h"
#include "tests/lv1/ClientTest.h"
#include "tests/support/Eventually.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

using sim::ConsoleSim;
using sim::ConsoleSimOptions;

/// The client on real sockets, and consoles that the test's own thread works in turn with the main queue.
class SocketTest : public testing::Test {
protected:
    SocketTest() {
        auto runtime = std::make_unique<AsioRuntime>();
        platform.network = std::make_unique<AsioNetwork>(*runtime);
        platform.queues = std::move(runtime);
        platform.multicast = std::make_unique<FakeMulticastListening>();
        platform.defaults = std::make_unique<FakeUserDefaults>();
        platform.host = fakeHost;
        platform.makeServiceBrowser = [] { return std::make_unique<FakeServiceBrowser>(); };
        client = makeClient();
    }

    std::shared_ptr<LV1Client> makeClient() {
        auto made = LV1Client::make(platform);
        made->onStatus = [this](const std::string &text) { diary.push_back(text); };
        made->onConnectionState = [this](bool connected) {
            diary.emplace_back(connected ? "<connected>" : "<not connected>");
        };
        made->onPatch = [this](const auto &list) { patch = list; };
        made->onChannels = [this](const auto &list) {
            channels = list;
            ++channelReports;
        };
        made->onScene = [this](const std::string &name) { scenes.push_back(name); };
        return made;
    }

    ConsoleSim &console(ConsoleSimOptions options = {}) {
        auto made = std::make_unique<ConsoleSim>(std::move(options));
        made->onReport = [this](const std::string &text) {
            // A console that has its turn late on a busy machine takes the first handshake for a late one.
            // That the second comes after 250 ms is proved where time stands still in between.
            if (!text.starts_with("the second handshake came "))
                reports.push_back(text);
        };
        consoles.push_back(std::move(made));
        return *consoles.back();
    }

    void runFor(std::chrono::milliseconds time) {
        main.after(time, [this] { main.quit(); });
        main.run();
        for (const auto &each : consoles)
            each->poll();
    }
    bool comes(const std::function<bool()> &condition) {
        return eventually([&] {
            runFor(std::chrono::milliseconds(1));
            return condition();
        });
    }
    bool says(const std::string &status) {
        return comes([&] { return std::find(diary.begin(), diary.end(), status) != diary.end(); });
    }
    bool connects(const ConsoleSim &console) {
        client->connect("127.0.0.1", console.port());
        const auto before = scenes.size();
        return comes([&] { return scenes.size() > before; });
    }

    AsioMainQueue main;
    Platform platform{main};
    std::vector<std::unique_ptr<ConsoleSim>> consoles;
    std::shared_ptr<LV1Client> client;
    std::vector<std::string> diary;
    std::vector<std::string> scenes;
    std::vector<std::string> reports; ///< what the consoles found wrong
    std::vector<LV1Channel> patch;
    std::vector<LV1Channel> channels;
    int channelReports = 0;
};

} // namespace corvane
