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
        auto fake = std::make_unique<FakeRunningApplications>();
        applications = fake.get();
        platform.applications = std::move(fake);
    }

    MainQueue main;
    TemporaryFolder folder;
    FakeRunningApplications *applications = nullptr;
    Platform platform{main,
                      {},
                      {},
                      std::make_unique<FakeMulticastListening>(),
                      std::make_unique<FakeStandardFolders>(folder.path()),
                      std::make_unique<FakeBundleResources>(),
                      std::make_unique<FakeUserDefaults>(),
                      {},
                      std::make_unique<FakeProcessLauncher>(),
                      std::make_unique<FakeHostInformation>(),
                      std::make_unique<FakeWallClock>(),
                      [] { return std::make_unique<FakeServiceBrowser>(); }};
};

} // namespace corvane
