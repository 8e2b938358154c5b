#include "platform/net/LocalNames.h"

#include "base/Text.h"
#include "platform/net/Sockets.h"

#include <dns_sd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <string_view>

namespace corvane {

using namespace std::chrono_literals;

namespace {

/// A host with several interfaces has several addresses, each with an answer of its own.
constexpr std::chrono::milliseconds furtherAnswersTimeout = 50ms;

void DNSSD_API didAnswer(DNSServiceRef, DNSServiceFlags flags, uint32_t, DNSServiceErrorType error,
                         const char *, uint16_t type, uint16_t, uint16_t size, const void *data, uint32_t,
                         void *context) {
    asio::ip::address_v4::bytes_type bytes{};
    if (error != kDNSServiceErr_NoError || (flags & kDNSServiceFlagsAdd) == 0 || type != kDNSServiceType_A ||
        size != bytes.size() || data == nullptr)
        return;
    std::memcpy(bytes.data(), data, bytes.size());
    auto &addresses = static_cast<HostAddresses *>(context)->addresses;
    const asio::ip::address address = asio::ip::address_v4(bytes);
    if (std::find(addresses.begin(), addresses.end(), address) == addresses.end())
        addresses.push_back(address);
}

} // namespace

bool isLocalName(const std::string &host) {
    std::string_view name = host;
    if (!name.empty() && name.back() == '.')
        name.remove_suffix(1);
    constexpr std::string_view ending = ".local";
    return name.size() > ending.size() && equalIgnoringCase(name.substr(name.size() - ending.size()), ending);
}

HostAddresses lookUpLocalName(const std::string &host, std::chrono::milliseconds timeout) {
    using Clock = std::chrono::steady_clock;
    HostAddresses found;
    DNSServiceRef reference = nullptr;
    const auto error = ::DNSServiceQueryRecord(&reference, 0, kDNSServiceInterfaceIndexAny, host.c_str(),
                                               kDNSServiceType_A, kDNSServiceClass_IN, &didAnswer, &found);
    if (error != kDNSServiceErr_NoError)
        return found;
    closeEverythingOnExec();

    auto deadline = Clock::now() + timeout;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd answer{::DNSServiceRefSockFD(reference), POLLIN, 0};
        if (left <= 0ms || ::poll(&answer, 1, static_cast<int>(left.count())) <= 0)
            break;
        const bool isFirst = found.addresses.empty();
        if (::DNSServiceProcessResult(reference) != kDNSServiceErr_NoError)
            break;
        if (isFirst && !found.addresses.empty())
            deadline = Clock::now() + furtherAnswersTimeout;
    }
    ::DNSServiceRefDeallocate(reference);
    return found;
}

void quietDNSServiceLibrary() {
    ::setenv("AVAHI_COMPAT_NOWARN", "1", 0);
}

} // namespace corvane
