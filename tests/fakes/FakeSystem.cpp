#include "tests/fakes/FakeSystem.h"

#include "platform/files/Files.h"

#include <stdexcept>

namespace corvane {

std::optional<std::string> FakeUserDefaults::string(const std::string &key) const {
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional(found->second);
}

FakeStandardFolders::FakeStandardFolders(std::filesystem::path newRoot) : root(std::move(newRoot)) {
    std::filesystem::create_directories(root / "home" / "Music");
    std::filesystem::create_directories(root / "Applications");
    musicFolder = root / "home" / "Music";
}

std::optional<std::filesystem::path> FakeBundleResources::find(const std::string &name,
                                                               const std::string &extension) const {
    const auto found = files.find(name + "." + extension);
    return found == files.end() ? std::nullopt : std::optional(found->second);
}

void FakeRunningApplication::terminate() {
    ++terminateRequests;
    if (onTerminate)
        onTerminate();
    terminated = terminated || obeysTerminate;
}

void FakeRunningApplication::forceTerminate() {
    ++forceRequests;
    terminated = terminated || obeysForce;
}

std::shared_ptr<RunningApplication>
FakeRunningApplications::find(const std::string &bundleIdentifier,
                              const std::filesystem::path &program) const {
    asked.emplace_back(bundleIdentifier, program);
    const auto found = running.find(bundleIdentifier);
    if (found == running.end() || !found->second || (found->second->isTerminated() && !findsTerminated))
        return nullptr;
    return found->second;
}

void FakeProcessLauncher::start(const ProcessDescription &process, const FileHandle &) {
    if (failure)
        throw FileError(*failure);
    started.push_back(process);
    if (onStart)
        onStart(process);
}

FakePlatform::FakePlatform() : platform{main, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}} {
    const auto give = [](auto &place, auto fake) {
        auto *raw = fake.get();
        place = std::move(fake);
        return raw;
    };
    platform.queues = std::make_unique<ManualQueues>(clock);
    network = give(platform.network, std::make_unique<FakeNetwork>());
    multicast = give(platform.multicast, std::make_unique<FakeMulticastListening>());
    folders = give(platform.folders, std::make_unique<FakeStandardFolders>(folder.path()));
    resources = give(platform.resources, std::make_unique<FakeBundleResources>());
    defaults = give(platform.defaults, std::make_unique<FakeUserDefaults>());
    applications = give(platform.applications, std::make_unique<FakeRunningApplications>());
    processes = give(platform.processes, std::make_unique<FakeProcessLauncher>());
    host = give(platform.host, std::make_unique<FakeHostInformation>());
    wallClock = give(platform.clock, std::make_unique<FakeWallClock>());
    platform.makeServiceBrowser = [this] {
        auto made = std::make_unique<FakeServiceBrowser>();
        browser = made.get();
        return made;
    };
}

} // namespace corvane
