#include "platform/net/HostResolver.h"

#include "platform/net/LocalNames.h"
#include "platform/queues/AsioContext.h"

#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <system_error>
#include <thread>

namespace corvane {

namespace {

/// How long a local name may stay unanswered before the system is asked for it.
constexpr std::chrono::seconds localNameTimeout{2};

} // namespace

HostAddresses lookUpHost(const std::string &host) {
    if (isLocalName(host)) {
        auto local = lookUpLocalName(host, localNameTimeout);
        if (!local.addresses.empty())
            return local;
    }
    addrinfo hints{}; // of either family
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *listed = nullptr;
    const int code = ::getaddrinfo(host.c_str(), nullptr, &hints, &listed);
    if (code != 0)
        return {{}, code == EAI_SYSTEM ? std::generic_category().message(errno) : ::gai_strerror(code)};

    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> found(listed, &::freeaddrinfo);
    HostAddresses result;
    for (const addrinfo *entry = found.get(); entry != nullptr; entry = entry->ai_next) {
        asio::ip::tcp::endpoint endpoint;
        if (entry->ai_addrlen > endpoint.capacity())
            continue; // of another family
        endpoint.resize(entry->ai_addrlen);
        std::memcpy(endpoint.data(), entry->ai_addr, entry->ai_addrlen);
        result.addresses.push_back(endpoint.address());
    }
    return result;
}

HostResolver::HostResolver(std::shared_ptr<AsioContext> context, LookUp lookUp)
    : context(std::move(context)), lookUp(std::move(lookUp)) {}

void HostResolver::resolve(const std::string &host, std::function<void(HostAddresses)> done) const {
    asio::error_code notNumeric;
    const auto address = asio::ip::make_address(host, notNumeric);
    if (!notNumeric)
        return done({{address}, {}});
    try {
        std::thread([host, done, lookUp = lookUp, context = context] {
            auto addresses = lookUp(host);
            context->whileOpen([&] {
                asio::post(context->loop(), [done, addresses = std::move(addresses)] { done(addresses); });
            });
        }).detach();
    } catch (const std::system_error &error) {
        done({{}, error.code().message()});
    }
}

} // namespace corvane
