#include "tests/support/Peers.h"
#include "tests/support/PrivateNetwork.h"

#include <gtest/gtest.h>

#include <net/if.h>

namespace corvane {
namespace {

TEST(PrivateNetwork, HasItsOwnPortsOnALoopbackThatIsUp) {
    const DatagramPeer outside;
    CORVANE_ENTER_PRIVATE_NETWORK();
    const DatagramPeer inside(outside.port());
    const DatagramPeer sender;
    sender.send(bytes("hello"), inside.port());
    EXPECT_EQ(inside.receive(), bytes("hello"));
    EXPECT_FALSE(outside.hasDatagram());
}

TEST(PrivateNetwork, ANeighbourIsAnotherNetworkAtTheEndOfACable) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    std::string reason;
    const auto neighbour = PrivateNetwork::Neighbour::join(reason);
    if (!neighbour)
        GTEST_SKIP() << reason;
    EXPECT_NE(::if_nametoindex("corvane0"), 0u);
    EXPECT_EQ(::if_nametoindex("corvane1"), 0u);
    neighbour->inside([] {
        EXPECT_EQ(::if_nametoindex("corvane0"), 0u);
        EXPECT_NE(::if_nametoindex("corvane1"), 0u);
    });
}

} // namespace
} // namespace corvane
