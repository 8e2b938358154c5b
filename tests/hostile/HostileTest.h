#pragma once

#include "sim/ConsoleState.h"
#include "tests/hostile/Watch.h"
#include "tests/lv1/SocketTest.h"
#include "tests/support/Peers.h"

#include <string>
#include <vector>

namespace corvane {

inline constexpr const char *closeText =
    "LV1 closed the connection. Disconnect Tracks Live and press SYNC LV1.";
inline constexpr const char *negotiatingText = "Conectado. Negociando con LV1…";
inline constexpr const char *acceptedText = "LV1 conectado. Esperando el patch…";

/// A client, and a console that the test plays itself, byte by byte.
class HostileTest : public SocketTest {
protected:
    /// A link whose other end is in the test's hands; the client's first greeting has been read.
    StreamPeer linked() {
        client->connect("127.0.0.1", listener.port());
        StreamPeer peer = listener.accept();
        EXPECT_TRUE(says(negotiatingText));
        EXPECT_EQ(peer.read(greeting.size()), greeting);
        return peer;
    }
    /// The band of a well-behaved console arrives on the same client.
    bool stillWorks() {
        client->onScene = [this](const std::string &name) { scenes.push_back(name); };
        if (!connects(console()))
            return false;
        return channels == sim::bandOnStage().channels;
    }

    StreamListener listener;
    const Bytes greeting = framed("/handshake", {-1, -1, 6});
};

} // namespace corvane
