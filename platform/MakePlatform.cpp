#include "platform/Platform.h"

#include "platform/bonjour/DNSServiceBrowser.h"
#include "platform/bonjour/DNSServiceThread.h"
#include "platform/files/JsonUserDefaults.h"
#include "platform/net/AsioNetwork.h"
#include "platform/net/PosixMulticast.h"
#include "platform/processes/PosixProcessLauncher.h"
#include "platform/processes/ProgramRunningApplications.h"
#include "platform/queues/AsioRuntime.h"

namespace corvane {
namespace {

/// Finds nothing, on purpose: in a rehearsal Bonjour is off.
class SilentServiceBrowser final : public ServiceBrowser {
public:
    void setDelegate(std::weak_ptr<ServiceBrowserDelegate> /*delegate*/) override {}
    void search(const std::string & /*type*/, const std::string & /*domain*/) override {}
    void stop() override {}
    std::optional<std::string> error() const override { return std::nullopt; }
};

std::unique_ptr<Platform> makeSystem(SerialQueue &main, PosixMulticast::Reach reach) {
    auto platform = std::make_unique<Platform>(main);
    auto runtime = std::make_unique<AsioRuntime>();
    platform->network = std::make_unique<AsioNetwork>(*runtime);
    platform->multicast = std::make_unique<PosixMulticast>(*runtime, reach);
    platform->queues = std::move(runtime);
    platform->makeServiceBrowser = [&main] {
        return std::make_unique<DNSServiceBrowser>(main, std::make_unique<DNSServiceThread>(main));
    };
    platform->folders = userFolders();
    platform->resources = resourcesIn(resourceFoldersOf(programPath()));
    platform->defaults = makeUserDefaults();
    platform->applications = makeRunningApplications();
    platform->host = hostInformation;
    platform->activity = makeSystemActivity();
    platform->processes = std::make_unique<PosixProcessLauncher>();
    return platform;
}

std::unique_ptr<Platform> makeRehearsal(SerialQueue &main, const PlatformOptions &options) {
    auto rehearsal =
        std::make_unique<Rehearsal>(*options.rehearsal, options.rehearsalPorts, isUDPPortHeldByParticipants);
    auto platform = makeSystem(main, PosixMulticast::Reach::loopbackOnly);
    platform->makeServiceBrowser = [] { return std::make_unique<SilentServiceBrowser>(); };
    // Of the real world only what has nothing to do with LiveTrax or the user is left.
    platform->folders = rehearsal->folders();
    const std::filesystem::path &home = platform->folders.home;
    platform->defaults = std::make_unique<JsonUserDefaults>(JsonUserDefaults::fileIn(home / ".config"));
    platform->applications = std::make_unique<ProgramRunningApplications>(rehearsal->root());
    platform->processes = std::make_unique<PosixProcessLauncher>(
        std::vector<std::pair<std::string, std::string>>{{"HOME", home.string()}});
    platform->rehearsal = std::move(rehearsal);
    return platform;
}

} // namespace

std::unique_ptr<Platform> makePlatform(SerialQueue &main, const PlatformOptions &options) {
    return options.rehearsal ? makeRehearsal(main, options)
                             : makeSystem(main, PosixMulticast::Reach::network);
}

} // namespace corvane
