#include "tests/fakes/FakeSystem.h"

#include "platform/files/Files.h"

#include <stdexcept>

namespace corvane {

std::optional<std::string> FakeUserDefaults::string(const std::string &key) const {
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional(found->second);
}

StandardFolders fakeFolders(const std::filesystem::path &root) {
    std::filesystem::create_directories(root / "home" / "Music");
    std::filesystem::create_directories(root / "Applications");
    return {root / "home", root / "Applications", [root] { return root / "home" / "Music"; }};
}

HostInformation fakeHost() {
    return {
        "Front of House", {"02:00:00:00:00:02", "02:00:00:00:00:01"}, "0F8FAD5B-D9CB-469F-A165-70867728950E"};
}

std::optional<std::filesystem::path> FakeBundleResources::operator()(const std::string &name,
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

FakePlatform::FakePlatform() {
    const auto give = [](auto &place, auto fake) {
        auto *raw = fake.get();
        place = std::move(fake);
        return raw;
    };
    queues = give(platform.queues, std::make_unique<ManualQueues>(clock));
    network = give(platform.network, std::make_unique<FakeNetwork>());
    multicast = give(platform.multicast, std::make_unique<FakeMulticastListening>());
    platform.folders = fakeFolders(folder.path());
    musicFolder = platform.folders.music();
    platform.folders.music = [this] { return musicFolder; };
    platform.resources = [files = resources](const auto &name, const auto &extension) {
        return (*files)(name, extension);
    };
    defaults = give(platform.defaults, std::make_unique<FakeUserDefaults>());
    applications = give(platform.applications, std::make_unique<FakeRunningApplications>());
    processes = give(platform.processes, std::make_unique<FakeProcessLauncher>());
    platform.portHolders = [this](std::uint16_t port) { return portHolders[port]; };
    platform.volumeOf = [this](const auto &) { return volume; };
    platform.host = [this] { return host; };
    platform.clock = [this] { return wallTime; };
    activity = give(platform.activity, std::make_unique<FakeSystemActivity>());
    platform.makeServiceBrowser = [this] {
        auto made = std::make_unique<FakeServiceBrowser>();
        browser = made.get();
        return made;
    };
}

} // namespace corvane
