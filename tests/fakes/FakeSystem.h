#pragma once

#include "platform/Platform.h"
#include "tests/fakes/FakeNetwork.h"
#include "tests/fakes/ManualQueue.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

class FakeUserDefaults : public UserDefaults {
public:
    std::optional<std::string> string(const std::string &key) const override;
    void set(const std::string &key, const std::string &value) override {
        if (!keepsNothing)
            values[key] = value;
        if (onSet)
            onSet();
    }

    std::map<std::string, std::string> values;
    bool keepsNothing = false;
    std::function<void()> onSet; ///< called after each change
};

/// The folders "home", "Applications" and "home/Music" below one temporary folder.
StandardFolders fakeFolders(const std::filesystem::path &root);

struct FakeBundleResources {
    /// The resources by "name.extension".
    std::map<std::string, std::filesystem::path> files;

    std::optional<std::filesystem::path> operator()(const std::string &name,
                                                    const std::string &extension) const;
};

/// A program whose life the test decides on.
class FakeRunningApplication : public RunningApplication {
public:
    void terminate() override;
    void forceTerminate() override;
    bool isTerminated() const override { return terminated; }

    bool terminated = false;
    bool obeysTerminate = true;
    bool obeysForce = true;
    int terminateRequests = 0;
    int forceRequests = 0;
    /// Called on each request to quit, before it is obeyed.
    std::function<void()> onTerminate;
};

class FakeRunningApplications : public RunningApplications {
public:
    std::shared_ptr<RunningApplication> find(const std::string &bundleIdentifier,
                                             const std::filesystem::path &program) const override;

    /// What runs, by bundle identifier.
    std::map<std::string, std::shared_ptr<FakeRunningApplication>> running;
    bool findsTerminated = false; ///< whether those that have terminated are found as well
    /// Every question asked: identifier and program path.
    mutable std::vector<std::pair<std::string, std::filesystem::path>> asked;
};

class FakeProcessLauncher : public ProcessLauncher {
public:
    void start(const ProcessDescription &process, const FileHandle &output) override;

    std::vector<ProcessDescription> started;
    /// When set, starting fails with this text.
    std::optional<std::string> failure;
    std::function<void(const ProcessDescription &)> onStart;
};

/// "Front of House", with two network cards.
HostInformation fakeHost();

/// Remembers whether an activity is going on, and how often one was begun.
class FakeSystemActivity : public SystemActivity {
public:
    void begin() override {
        begun += isGoingOn ? 0 : 1;
        isGoingOn = true;
    }
    void end() override { isGoingOn = false; }

    bool isGoingOn = false;
    int begun = 0;
};

/// 2026-01-31T18:04:05.250Z
constexpr std::chrono::system_clock::time_point fakeWallTime{std::chrono::milliseconds{1769882645250}};

/// A whole platform of fakes on one manual clock; each fake is at hand by its own type.
class FakePlatform {
public:
    FakePlatform();

    TemporaryFolder folder;
    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    ManualQueue main{clock, "main"};

    ManualQueues *queues;
    FakeNetwork *network;
    FakeMulticastListening *multicast;
    FakeUserDefaults *defaults;
    FakeRunningApplications *applications;
    FakeProcessLauncher *processes;
    FakeSystemActivity *activity;
    /// The browser made last; null before one was made. Owned by whoever asked for it.
    FakeServiceBrowser *browser = nullptr;

    std::optional<std::filesystem::path> musicFolder; ///< there, unless taken away
    std::shared_ptr<FakeBundleResources> resources = std::make_shared<FakeBundleResources>();
    HostInformation host = fakeHost();
    std::chrono::system_clock::time_point wallTime = fakeWallTime;
    std::map<std::uint16_t, std::vector<UDPPortHolder>> portHolders;
    Volume volume{"", 4'000'000'000'000}; ///< that all files are on

    Platform platform{main};
    StandardFolders *folders = &platform.folders;
};

} // namespace corvane
