#include "platform/Platform.h"

#include "platform/SystemParts.h"
#include "platform/bonjour/DNSServiceBrowser.h"
#include "platform/bonjour/DNSServiceThread.h"
#include "platform/bonjour/SilentServiceBrowser.h"
#include "platform/files/FolderResources.h"
#include "platform/files/JsonUserDefaults.h"
#include "platform/host/SystemWallClock.h"
#include "platform/net/AsioNetwork.h"
#include "platform/net/PosixMulticast.h"
#include "platform/processes/PosixProcessLauncher.h"
#include "platform/processes/ProgramRunningApplications.h"
#include "platform/queues/AsioRuntime.h"
#include "platform/rehearsal/UDPPortHolders.h"

namespace corvane {
namespace {

std::unique_ptr<Platform> makeSystem(SerialQueue &main, PosixMulticast::Reach reach) {
    std::unique_ptr<Platform> platform(new Platform{main, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}});
    auto runtime = std::make_unique<AsioRuntime>();
    platform->network = std::make_unique<AsioNetwork>(*runtime);
    platform->multicast = std::make_unique<PosixMulticast>(*runtime, reach);
    platform->queues = std::move(runtime);
    platform->makeServiceBrowser = [&main] {
        return std::make_unique<DNSServiceBrowser>(main, std::make_unique<DNSServiceThread>(main));
    };
    platform->resources = std::make_unique<FolderResources>(FolderResources::foldersOf(programPath()));
    platform->clock = std::make_unique<SystemWallClock>();
    SystemParts parts = makeSystemParts();
    platform->folders = std::move(parts.folders);
    platform->defaults = std::move(parts.defaults);
    platform->applications = std::move(parts.applications);
    platform->host = std::move(parts.host);
    platform->processes = std::make_unique<PosixProcessLauncher>();
    return platform;
}

std::unique_ptr<Platform> makeRehearsal(SerialQueue &main, const std::filesystem::path &folder) {
    auto rehearsal = std::make_unique<Rehearsal>(folder, isUDPPortHeldByParticipants);
    auto platform = makeSystem(main, PosixMulticast::Reach::loopbackOnly);
    platform->makeServiceBrowser = [] { return std::make_unique<SilentServiceBrowser>(); };
    // Of the real world only what has nothing to do with LiveTrax or the user is left.
    const RehearsalFolders folders = rehearsal->folders();
    platform->folders = std::make_unique<RehearsalFolders>(folders);
    platform->defaults = std::make_unique<JsonUserDefaults>(folders.defaultsFile());
    platform->applications = std::make_unique<ProgramRunningApplications>(rehearsal->root());
    platform->processes = std::make_unique<PosixProcessLauncher>(
        std::vector<std::pair<std::string, std::string>>{{"HOME", folders.home().string()}});
    platform->rehearsal = std::move(rehearsal);
    return platform;
}

} // namespace

std::unique_ptr<Platform> makePlatform(SerialQueue &main, const PlatformOptions &options) {
    return options.rehearsal ? makeRehearsal(main, *options.rehearsal)
                             : makeSystem(main, PosixMulticast::Reach::network);
}

} // namespace corvane
