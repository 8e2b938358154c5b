#pragma once

#include "platform/bonjour/DNSServiceQueries.h"
#include "platform/bonjour/ServiceBrowser.h"
#include "platform/queues/SerialQueue.h"

#include <memory>
#include <optional>
#include <string>

namespace corvane {

/// Searches by way of the DNS-SD daemon. The daemon repeats itself for every interface and address family, on
/// Linux never says that more is coming, and may be missing or die. So each service is reported once by its
/// name, bursts are gathered, and the search resumes by itself when the daemon is back. Everything here
/// belongs to the main queue.
class DNSServiceBrowser final : public ServiceBrowser {
public:
    DNSServiceBrowser(SerialQueue &main, std::unique_ptr<DNSServiceQueries> queries);
    ~DNSServiceBrowser() override;

    void setDelegate(std::weak_ptr<ServiceBrowserDelegate> delegate) override;
    void search(const std::string &type, const std::string &domain) override;
    void stop() override;
    std::optional<std::string> error() const override;
    bool isRefused() const override;
    bool mayBeRefused() const override;

private:
    class Service;
    class Search;
    std::shared_ptr<Search> current;
};

} // namespace corvane
