#pragma once

#include "platform/net/AsioNetwork.h"
#include "platform/queues/AsioRuntime.h"
#include "tests/fakes/FakeSystem.h"
#include "tests/support/TemporaryFolder.h"

#include <memory>
#include <utility>

namespace corvane {

/// A platform of fakes but for the main queue, the network and its threads, which are the real ones.
template <class MainQueue>
struct BenchPlatform {
    BenchPlatform() {
        auto runtime = std::make_unique<AsioRuntime>();
        platform.network = std::make_unique<AsioNetwork>(*runtime);
        platform.queues = std::move(runtime);
        platform.multicast = std::make_unique<FakeMulticastListening>();
        platform.folders = fakeFolders(folder.path());
        platform.resources = FakeBundleResources();
        platform.defaults = std::make_unique<FakeUserDefaults>();
        platform.processes = std::make_unique<FakeProcessLauncher>();
        platform.host = fakeHost;
        platform.clock = [] { return fakeWallTime; };
        platform.makeServiceBrowser = [] { return std::make_unique<FakeServiceBrowser>(); };
        auto fake = std::make_unique<FakeRunningApplications>();
        applications = fake.get();
        platform.applications = std::move(fake);
    }

    MainQueue main;
    TemporaryFolder folder;
    FakeRunningApplications *applications = nullptr;
    Platform platform{main};
};

} // namespace corvane
