#include "platform/bonjour/DNSServiceDaemonWatch.h"

#include <avahi-client/client.h>
#include <avahi-common/thread-watch.h>

#include <utility>

namespace corvane {

namespace {

/// Listens to the system's message bus, on which Avahi's daemon takes a name when it comes.
class AvahiWatch final : public DNSServiceDaemonWatch {
public:
    explicit AvahiWatch(std::function<void()> appeared) : appeared(std::move(appeared)) {}
    ~AvahiWatch() override;

    /// False when there is no bus.
    bool begin();

private:
    static void changed(AvahiClient *, AvahiClientState state, void *context);

    std::function<void()> appeared; ///< the poll's thread's, once that runs
    AvahiThreadedPoll *poll = nullptr;
    AvahiClient *client = nullptr;
};

AvahiWatch::~AvahiWatch() {
    if (poll)
        ::avahi_threaded_poll_stop(poll);
    if (client)
        ::avahi_client_free(client);
    if (poll)
        ::avahi_threaded_poll_free(poll);
}

bool AvahiWatch::begin() {
    poll = ::avahi_threaded_poll_new();
    if (!poll)
        return false;
    client =
        ::avahi_client_new(::avahi_threaded_poll_get(poll), AVAHI_CLIENT_NO_FAIL, &changed, this, nullptr);
    return client && ::avahi_threaded_poll_start(poll) == 0;
}

void AvahiWatch::changed(AvahiClient *, AvahiClientState state, void *context) {
    if (state == AVAHI_CLIENT_CONNECTING) // waits for the daemon
        return;
    if (const auto tell = std::exchange(static_cast<AvahiWatch *>(context)->appeared, nullptr))
        tell();
}

} // namespace

std::unique_ptr<DNSServiceDaemonWatch> watchForDNSServiceDaemon(std::function<void()> appeared) {
    auto watch = std::make_unique<AvahiWatch>(std::move(appeared));
    if (!watch->begin())
        return nullptr;
    return watch;
}

bool localNetworkWantsPermission() {
    return false;
}

} // namespace corvane
