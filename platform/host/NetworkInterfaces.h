#pragma once

#include <ifaddrs.h>
#include <sys/socket.h>

namespace corvane {

/// The addresses of the machine's network interfaces as the system lists them now, in its order, one entry an
/// address. May be used on any thread.
class NetworkInterfaces {
public:
    NetworkInterfaces() : listed(::getifaddrs(&first) == 0) {}
    ~NetworkInterfaces() {
        if (listed)
            ::freeifaddrs(first);
    }
    NetworkInterfaces(const NetworkInterfaces &) = delete;
    NetworkInterfaces &operator=(const NetworkInterfaces &) = delete;

    /// Whether the system could list them; if not, there are none, and errno says why.
    explicit operator bool() const { return listed; }

    /// Calls `visit` with each entry of that family of addresses (AF_INET, ...).
    template <class Visit>
    void forEach(int family, Visit visit) const {
        for (const ifaddrs *entry = listed ? first : nullptr; entry != nullptr; entry = entry->ifa_next)
            if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == family)
                visit(*entry);
    }

private:
    ifaddrs *first = nullptr;
    bool listed;
};

} // namespace corvane
