#pragma once

#include "platform/bonjour/ServiceBrowser.h"
#include "platform/files/StandardFolders.h"
#include "platform/files/UserDefaults.h"
#include "platform/files/Volume.h"
#include "platform/host/HostInformation.h"
#include "platform/host/SystemActivity.h"
#include "platform/net/MulticastListening.h"
#include "platform/net/Network.h"
#include "platform/processes/Applications.h"
#include "platform/processes/UDPPortHolders.h"
#include "platform/queues/SerialQueue.h"
#include "platform/rehearsal/Rehearsal.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace corvane {

/// Everything that the program asks of the system it runs on. Owned by the process entry; outlives all users.
struct Platform {
    explicit Platform(SerialQueue &main) : main(main) {}

    SerialQueue &main; ///< the main thread's queue; outlives this
    std::unique_ptr<Network> network;
    std::unique_ptr<MulticastListening> multicast;
    StandardFolders folders;
    BundleResources resources;
    std::unique_ptr<UserDefaults> defaults;
    std::unique_ptr<RunningApplications> applications;
    std::unique_ptr<ProcessLauncher> processes;
    /// Who holds a UDP port; takes its time, and may be asked on any thread.
    std::function<std::vector<UDPPortHolder>(std::uint16_t port)> portHolders = udpPortHolders;
    /// The volume of a path; takes its time where a disk does, and may be asked on any thread.
    std::function<std::optional<Volume>(const std::filesystem::path &)> volumeOf = corvane::volumeOf;
    /// This computer's name, Ethernet addresses and a new UUID, as of now.
    std::function<HostInformation()> host;
    WallClock clock = std::chrono::system_clock::now;
    /// Makes the DNS-SD browser of a client.
    std::function<std::unique_ptr<ServiceBrowser>()> makeServiceBrowser;
    /// Begun while a console is linked, ended when it is not.
    std::unique_ptr<SystemActivity> activity = std::make_unique<SystemActivity>();
    /// The rehearsal that this program takes part in; null in the real world.
    std::unique_ptr<Rehearsal> rehearsal = nullptr;
    /// Last, to go first: its threads may be using all the others.
    std::unique_ptr<SerialQueues> queues;
};

struct PlatformOptions {
    /// The folder of a rehearsal; none for the real world.
    std::optional<std::filesystem::path> rehearsal;
    /// The UDP ports that the rehearsal needs for itself.
    std::vector<std::uint16_t> rehearsalPorts{};
};

/// The platform of the system this was built for. `main` is the queue of the main thread. Throws FileError
/// when the folder of a rehearsal cannot be created, and PortInUse when a program outside it holds one of its
/// ports.
std::unique_ptr<Platform> makePlatform(SerialQueue &main, const PlatformOptions &options);

} // namespace corvane
