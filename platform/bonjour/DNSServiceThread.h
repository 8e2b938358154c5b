#pragma once

#include "platform/bonjour/DNSServiceQueries.h"
#include "platform/queues/SerialQueue.h"

#include <memory>

namespace corvane {

/// The DNS-SD daemon by way of dns_sd.h. Its calls may wait for the daemon, so they have a thread of their
/// own, started with the first question; everything that dns_sd.h gives belongs to that thread. Made, used
/// and let go of on the main queue.
class DNSServiceThread final : public DNSServiceQueries {
public:
    explicit DNSServiceThread(SerialQueue &main);
    /// Waits a second at most for the thread to close its questions: a daemon that does not answer is left
    /// behind.
    ~DNSServiceThread() override;

    std::unique_ptr<DNSServiceQuery> browse(const std::string &type, const std::string &domain,
                                            BrowseHandler handler) override;
    std::unique_ptr<DNSServiceQuery> resolve(const std::string &name, const std::string &type,
                                             const std::string &domain, ResolveHandler handler) override;
    std::unique_ptr<DNSServiceQuery> awaitDaemon(std::function<void()> handler) override;

private:
    class Worker;
    class Query;
    std::shared_ptr<Worker> worker;
};

} // namespace corvane
