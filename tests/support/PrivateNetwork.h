#pragma once

#include <functional>
#include <memory>
#include <string>

namespace corvane {

/// Networks that a test makes for itself, so that nothing it sends can reach anybody, and so that the fixed
/// ports are free. Linux only; elsewhere nothing is permitted and the tests skip themselves.
class PrivateNetwork {
public:
    struct Options {
        bool loopbackMulticast =
            false; ///< whether the loopback interface counts as one that supports multicast
    };

    /// Moves the calling thread, and the threads and programs that it starts from now on, into a new network
    /// with just the loopback interface, which is up. To be called before any such thread is started. False
    /// with `reason` when it is not permitted; then nothing has changed.
    static bool enter(std::string &reason) { return enter(reason, Options()); }
    static bool enter(std::string &reason, Options options);

    /// A second network beside the one entered, joined to it by a cable: this side has the interface
    /// "corvane0" with 10.77.0.1, the other "corvane1" with 10.77.0.2, both of /24.
    class Neighbour {
    public:
        /// Null with `reason` when it is not permitted or `ip` is missing.
        static std::unique_ptr<Neighbour> join(std::string &reason);
        ~Neighbour();

        /// Runs `action` in the other network and waits for it. Sockets that it opens stay there for good.
        void inside(const std::function<void()> &action) const;

    private:
        explicit Neighbour(int descriptor) : descriptor(descriptor) {}
        int descriptor; ///< keeps the other network in being
    };
};

/// Skips the test when no private network is permitted. Goes first in a test's body.
#define CORVANE_ENTER_PRIVATE_NETWORK(...)                                                                   \
    do {                                                                                                     \
        std::string reasonNotToEnter;                                                                        \
        if (!corvane::PrivateNetwork::enter(reasonNotToEnter __VA_OPT__(, ) __VA_ARGS__))                    \
            GTEST_SKIP() << "no network namespace of its own: " << reasonNotToEnter;                         \
    } while (false)

} // namespace corvane
