#include "lv1/LV1MulticastDiscovery.h"
#include "osc/OSCCodec.h"
#include "patch/PatchDocument.h"
#include "platform/net/PosixMulticast.h"
#include "platform/queues/AsioRuntime.h"
#include "sim/ConsoleSession.h"
#include "sim/ConsoleSim.h"
#include "tests/support/Eventually.h"
#include "tests/support/Peers.h"
#include "tests/support/PrivateNetwork.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace corvane::sim {
namespace {

using testing::ElementsAre;

/// A client of few words.
class Client {
public:
    explicit Client(std::uint16_t port) : socket(newSocket(SOCK_STREAM)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        if (::connect(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
            throw std::system_error(errno, std::generic_category(), "connect");
    }

    void send(const OSCMessage &message) const {
        sendBytes(OSCCodec::frame(OSCCodec::message(message.address, message.values)));
    }
    void sendBytes(const Bytes &bytes) const {
        EXPECT_EQ(::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    void greet() const {
        send({"/handshake", {-1, -1, 6}});
        send({"/handshake", {1, -1, 6}});
        send({"/device_name", {"FOH", std::string(32, 'a'), ""}});
    }
    /// Takes what has come; the messages are added to `heard`.
    void take() {
        std::array<std::uint8_t, 4096> part{};
        ssize_t count = 0;
        while ((count = ::recv(socket.get(), part.data(), part.size(), MSG_DONTWAIT)) > 0) {
            received.insert(received.end(), part.begin(), part.begin() + count);
            ++reads;
        }
        closed = closed || count == 0;
        wasReset = wasReset || (count < 0 && errno == ECONNRESET);
        raw = received;
        for (const auto &message : OSCCodec::readFrames(received))
            heard.push_back(described(message));
    }
    bool hears(const std::string &message) {
        take();
        return std::find(heard.begin(), heard.end(), message) != heard.end();
    }

    std::vector<std::string> heard;
    Bytes raw; ///< what came last, before frames were taken from it
    bool closed = false;
    bool wasReset = false;
    int reads = 0;

private:
    Descriptor socket;
    Bytes received;
};

/// A console on a free port of the loopback interface, worked by the test's own thread.
class ConsoleSimTest : public testing::Test {
protected:
    ConsoleSimTest() {
        sim.onReport = [this](const std::string &text) { reports.push_back(text); };
        sim.onNote = [this](const std::string &text) { notes.push_back(text); };
    }

    bool comes(const std::function<bool()> &condition) {
        return eventually([&] {
            sim.poll();
            return condition();
        });
    }
    std::optional<std::string> command(const std::string &line) { return sim.command(line); }
    /// How many bytes of a scene's message come before the console goes on: with its first write.
    std::size_t firstPiece(Client &client, const std::string &scene) {
        command("scene " + scene);
        EXPECT_TRUE(eventually([&] {
            client.take();
            return !client.raw.empty();
        }));
        const auto size = client.raw.size();
        EXPECT_TRUE(comes([&] { return client.hears("/Notify/Scene/Name \"" + scene + "\""); }));
        return size;
    }

    static ConsoleSimOptions options() {
        ConsoleSimOptions options;
        options.channels = {LV1Channel("Kick", false, "SG", 0, "Mixer_Ch", 1, 1.0F, 0.5F, 0.0F),
                            LV1Channel("OH", true, "SG", 1, "Mixer_Ch", 2, 1.0F, 0.5F, 0.0F)};
        return options;
    }

    ConsoleSim sim{options()};
    std::vector<std::string> reports;
    std::vector<std::string> notes;
};

TEST_F(ConsoleSimTest, TellsAClientItsPatchColoursAndScene) {
    Client client(sim.port());
    client.greet();
    ASSERT_TRUE(comes([&] { return client.hears("/Notify/Scene/Name \"Prueba de sonido\""); }));
    EXPECT_THAT(client.heard, ElementsAre("/handshake 1",
                                          "/Notify/IOConnections 2 \"Kick\" 0 \"SG\" 0 \"Mixer_Ch\" 1 0 "
                                          "\"OH\" 1 \"SG\" 1 \"Mixer_Ch\" 2 0",
                                          "/Notify/TrackColor 0 0 0 1f 0.5f 0f",
                                          "/Notify/TrackColor 0 1 0 1f 0.5f 0f", testing::_));
    EXPECT_EQ(sim.acceptedClients(), 1U);
    EXPECT_TRUE(comes([&] { return notes.size() == 2; }));
    EXPECT_THAT(notes, ElementsAre("client connected", "client is FOH, " + std::string(32, 'a')));
}

TEST_F(ConsoleSimTest, CommandsReachEveryAcceptedClient) {
    Client one(sim.port());
    Client two(sim.port());
    one.greet();
    two.greet();
    ASSERT_TRUE(comes([&] { return sim.acceptedClients() == 2; }));
    EXPECT_EQ(command("rename 1 Bombo  In"), std::nullopt);
    EXPECT_EQ(command("move 1 10"), std::nullopt);
    EXPECT_EQ(command("stereo 1 on"), std::nullopt);
    EXPECT_EQ(command("stereo 2 off"), std::nullopt);
    EXPECT_EQ(command("color 2 0 0.25 1"), std::nullopt);
    EXPECT_EQ(command("scene Bolero Azul"), std::nullopt);
    EXPECT_EQ(command("next\r"), std::nullopt);
    for (auto *client : {&one, &two}) {
        EXPECT_TRUE(comes([&] { return client->hears("/Notify/Scene/Name \"Night Train\""); }));
        client->heard.erase(client->heard.begin(), client->heard.begin() + 5);
        EXPECT_THAT(client->heard,
                    ElementsAre("/Notify/IOConnections 2 \"Bombo  In\" 0 \"SG\" 0 \"Mixer_Ch\" 1 0 "
                                "\"OH\" 1 \"SG\" 1 \"Mixer_Ch\" 2 0",
                                "/Notify/IOConnections 2 \"Bombo  In\" 0 \"SG\" 9 \"Mixer_Ch\" 1 0 "
                                "\"OH\" 1 \"SG\" 1 \"Mixer_Ch\" 2 0",
                                "/Notify/IOConnections 2 \"Bombo  In\" 1 \"SG\" 9 \"Mixer_Ch\" 1 0 "
                                "\"OH\" 1 \"SG\" 1 \"Mixer_Ch\" 2 0",
                                "/Notify/IOConnections 2 \"Bombo  In\" 1 \"SG\" 9 \"Mixer_Ch\" 1 0 "
                                "\"OH\" 0 \"SG\" 1 \"Mixer_Ch\" 2 0",
                                "/Notify/TrackColor 0 1 0 0f 0.25f 1f", "/Notify/Scene/Name \"Bolero Azul\"",
                                "/Notify/Scene/Name \"Night Train\""));
    }
}

TEST_F(ConsoleSimTest, TheHelpHasEveryCommand) {
    EXPECT_STREQ(ConsoleSim::commandHelp(),
                 "Commands on standard input, one a line; channels N count from 1:\n"
                 "  scene NAME          recall the scene of this name\n"
                 "  next                recall the next scene of the list\n"
                 "  rename N NAME       rename a channel\n"
                 "  move N INPUT        patch a channel to another input, counted from 1\n"
                 "  stereo N on|off     make a channel stereo or mono\n"
                 "  color N R G B       colour a channel, each from 0 to 1\n"
                 "  patch FILE          take the channels of a patch file\n"
                 "  drop                close every connection\n"
                 "  quit                end\n"
                 "To see how a client stands it:\n"
                 "  raw HEX             send these bytes as they are\n"
                 "  reset               break every connection\n"
                 "  trickle on|off      send each byte in a segment of its own");
}

TEST_F(ConsoleSimTest, TakesTheChannelsOfAPatchFile) {
    const TemporaryFolder folder;
    const auto file =
        folder.write("a patch.json", patchDocument({LV1Channel("Uno", false, "SG", 3, "Mixer_Ch", 1)}));
    Client client(sim.port());
    client.greet();
    ASSERT_TRUE(comes([&] { return sim.acceptedClients() == 1; }));
    EXPECT_EQ(command("patch " + file.string()), std::nullopt);
    EXPECT_TRUE(comes([&] { return client.hears("/Notify/TrackColor 0 0 0 0.25f 0.55f 0.85f"); }));
    EXPECT_TRUE(client.hears("/Notify/IOConnections 1 \"Uno\" 0 \"SG\" 3 \"Mixer_Ch\" 1 0"));
    folder.write("bad.json", R"({"version":1,"channels":[{}]})");
    EXPECT_EQ(command("patch " + (folder.path() / "bad.json").string()), "channel 1: \"name\" is missing");
    EXPECT_NE(command("patch /nowhere"), std::nullopt);
}

TEST_F(ConsoleSimTest, SaysWhatIsWrongWithACommand) {
    for (const char *line :
         {"rename 0 x", "rename 3 x", "rename", "move -1 2", "stereo x on", "color 99 0 0 0"})
        EXPECT_EQ(command(line), "there is no channel of this number") << line;
    for (const char *line : {"move 1", "move 1 0", "move 1 x", "move 1 1.5", "move 1 2147483648"})
        EXPECT_EQ(command(line), "an input is a number from 1") << line;
    for (const char *line : {"color 1 0 0", "color 1 0 0 x", "color 1 0 0 0 0", "color 1 0 nan 0",
                             "color 1 0 0 1.01", "color 1 -0.1 0 0", "color 1 255 0 0"})
        EXPECT_EQ(command(line), "a colour is three numbers from 0 to 1") << line;
    EXPECT_EQ(command("stereo 1 yes"), "say on or off");
    EXPECT_EQ(command("raw 1"), "raw bytes are pairs of hexadecimal digits");
    EXPECT_EQ(command("raw zz"), "raw bytes are pairs of hexadecimal digits");
    EXPECT_EQ(command("Scene x"), "unknown command");
    EXPECT_EQ(command("trickle maybe"), "unknown command");
    EXPECT_EQ(command(""), std::nullopt);
}

TEST_F(ConsoleSimTest, DropClosesEveryConnectionInOrder) {
    Client client(sim.port());
    client.greet();
    ASSERT_TRUE(comes([&] { return sim.acceptedClients() == 1; }));
    command("scene Last");
    command("drop");
    EXPECT_TRUE(comes([&] {
        client.take();
        return client.closed;
    }));
    EXPECT_TRUE(client.hears("/Notify/Scene/Name \"Last\""));
}

TEST_F(ConsoleSimTest, DropClosesAConnectionThatHasNothingMoreToHear) {
    Client client(sim.port());
    client.greet();
    ASSERT_TRUE(comes([&] { return client.hears("/Notify/Scene/Name \"Prueba de sonido\""); }));
    sim.poll(); // the last of it is behind the console, too
    command("drop");
    EXPECT_TRUE(comes([&] {
        client.take();
        return client.closed;
    }));
}

TEST_F(ConsoleSimTest, ResetBreaksEveryConnection) {
    Client client(sim.port());
    client.greet();
    ASSERT_TRUE(comes([&] { return sim.acceptedClients() == 1; }));
    command("reset");
    EXPECT_TRUE(comes([&] {
        client.take();
        return client.wasReset;
    }));
    EXPECT_EQ(sim.clients(), 0U);
}

TEST_F(ConsoleSimTest, RawBytesAreSentAsTheyAre) {
    Client client(sim.port());
    ASSERT_TRUE(comes([&] { return sim.clients() == 1; }));
    EXPECT_EQ(command("raw 00 01 fEFF"), std::nullopt);
    EXPECT_TRUE(comes([&] {
        client.take();
        return client.raw == Bytes{0, 1, 0xFE, 0xFF};
    }));
}

TEST_F(ConsoleSimTest, TricklingStillTellsEverything) {
    command("trickle on");
    Client client(sim.port());
    client.greet();
    EXPECT_TRUE(comes([&] { return client.hears("/Notify/Scene/Name \"Prueba de sonido\""); }));
    EXPECT_EQ(client.heard.size(), 5U);
    EXPECT_EQ(firstPiece(client, "A"), 1U);
    command("trickle off");
    EXPECT_GT(firstPiece(client, "B"), 1U);
    command("trickle on");
    EXPECT_EQ(firstPiece(client, "C"), 1U);
}

TEST_F(ConsoleSimTest, UntilItIsToTrickleItSendsAMessageAtOnce) {
    Client client(sim.port());
    client.greet();
    ASSERT_TRUE(comes([&] { return client.hears("/Notify/Scene/Name \"Prueba de sonido\""); }));
    EXPECT_GT(firstPiece(client, "A"), 1U);
}

TEST_F(ConsoleSimTest, ReportsWhatAClientDoesWrong) {
    {
        Client client(sim.port());
        client.send({"/handshake", {1}});
        ASSERT_TRUE(comes([&] { return !reports.empty(); }));
    }
    ASSERT_TRUE(comes([&] { return sim.clients() == 0; }));
    EXPECT_THAT(reports, ElementsAre("handshake 1 is /handshake 1 instead of /handshake -1 -1 6",
                                     "the client left after 1 of 2 handshakes"));
    EXPECT_THAT(notes, ElementsAre("client connected", "client disconnected"));
}

TEST_F(ConsoleSimTest, AClientThatIsCutOffLeavesOnce) {
    const Client client(sim.port());
    ASSERT_TRUE(comes([&] { return sim.clients() == 1; }));
    command("reset");
    const Client next(sim.port());
    ASSERT_TRUE(comes([&] { return sim.clients() == 1; }));
    EXPECT_THAT(notes, ElementsAre("client connected", "client disconnected", "client connected"));
}

TEST(ConsoleSim, PingsEachClientAgainAndAgain) {
    ConsoleSimOptions options;
    options.pingInterval = std::chrono::milliseconds(5);
    ConsoleSim sim(options);
    Client client(sim.port());
    client.greet();
    for (const std::string number : {"1", "2"})
        EXPECT_TRUE(eventually([&] {
            sim.poll();
            return client.hears("/ping " + number + " \"" + number + "\" 0.5f 1099511627776h true false");
        }));
}

TEST(ConsoleSim, TakesAPortAgainAtOnceAfterItHasClosedAConnection) {
    ConsoleSimOptions options;
    {
        ConsoleSim sim(options);
        options.port = sim.port();
        Client client(options.port);
        EXPECT_TRUE(eventually([&] {
            sim.poll();
            return sim.clients() == 1;
        }));
        sim.command("drop");
        EXPECT_TRUE(eventually([&] {
            sim.poll();
            client.take();
            return client.closed;
        }));
    }
    EXPECT_EQ(ConsoleSim(options).port(), options.port);
}

TEST_F(ConsoleSimTest, AClientWhoseFramesLeadNowhereIsLeft) {
    Client client(sim.port());
    client.sendBytes(Bytes(12));
    EXPECT_TRUE(comes([&] {
        client.take();
        return client.closed;
    }));
    EXPECT_THAT(reports, ElementsAre("a frame header gives the length 0"));
}

TEST_F(ConsoleSimTest, APortInUseIsRefused) {
    ConsoleSimOptions same;
    same.port = sim.port();
    EXPECT_THROW(ConsoleSim{same}, std::system_error);
}

TEST(ConsoleSimAnnouncement, ComesByUnicastOnceInEveryInterval) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    const DatagramPeer listener(13337);
    ConsoleSimOptions options;
    options.name = "Sala Ñ";
    options.announce = "127.0.0.1";
    options.announceInterval = std::chrono::milliseconds(20);
    ConsoleSim sim(options);
    for (int i = 0; i < 20; ++i) { // more than come at once
        ASSERT_TRUE(eventually([&] {
            sim.poll();
            return listener.hasDatagram();
        }));
        const auto message = OSCCodec::parse(listener.receive());
        ASSERT_TRUE(message);
        EXPECT_EQ(described(*message), "/zDNS \"_waveslv113._tcp\" \"local\" 1 \"Sala Ñ\" " +
                                           std::to_string(sim.port()) +
                                           " 0 \"V17\" \"IPv4\" \"127.0.0.1\" 1 \"\" \"mac\" "
                                           "\"02:00:00:00:00:01\"");
    }
}

TEST(ConsoleSimAnnouncement, ReachesEachOfTwoProgramsThatShareThePort) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    AsioRuntime runtime;
    PosixMulticast multicast(runtime, PosixMulticast::Reach::loopbackOnly);
    Journal<Bytes> first;
    Journal<Bytes> second;
    const auto listen = [&](Journal<Bytes> &heard) {
        return multicast.open("225.1.1.1", 13337, 4'096, runtime.make("Corvane.Discovery"),
                              [&heard](const Bytes &datagram) { heard.add(datagram); });
    };
    const auto one = listen(first);
    const auto other = listen(second);
    ConsoleSimOptions options;
    options.announce = "127.0.0.1";
    constexpr std::size_t announcements = 40;
    constexpr std::size_t datagramsOfEach = 8;
    std::size_t reachedBoth = 0;
    for (std::size_t i = 1; i <= announcements; ++i) {
        const auto before = std::pair(first.all().size(), second.all().size());
        ConsoleSim sim(options);
        sim.poll(); // announces itself at once
        ASSERT_TRUE(
            eventually([&] { return first.all().size() + second.all().size() == i * datagramsOfEach; }));
        if (first.all().size() > before.first && second.all().size() > before.second)
            ++reachedBoth;
    }
    EXPECT_GT(reachedBoth, announcements * 3 / 4); // each fails once in 128
}

TEST(ConsoleSimAnnouncement, ComesToTheGroupOnAnInterfaceThatCanDoMulticast) {
    CORVANE_ENTER_PRIVATE_NETWORK({.loopbackMulticast = true});
    const DatagramPeer elsewhere(13337); // a datagram to one host goes to one socket
    const auto listener = newSocket(SOCK_DGRAM);
    sockaddr_in group{};
    group.sin_family = AF_INET;
    group.sin_port = htons(13337);
    ASSERT_EQ(::inet_pton(AF_INET, "225.1.1.1", &group.sin_addr), 1);
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr *>(&group), sizeof group), 0);
    const ip_mreq membership{group.sin_addr, {htonl(INADDR_LOOPBACK)}};
    ASSERT_EQ(::setsockopt(listener.get(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership), 0);
    ConsoleSimOptions options;
    options.announce = "multicast";
    ConsoleSim sim(options);
    std::vector<std::string> reports;
    sim.onReport = [&](const std::string &text) { reports.push_back(text); };
    Bytes datagram(4096);
    ssize_t count = -1;
    EXPECT_TRUE(eventually([&] {
        sim.poll();
        return (count = ::recv(listener.get(), datagram.data(), datagram.size(), MSG_DONTWAIT)) > 0;
    }));
    datagram.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    EXPECT_EQ(LV1MulticastDiscovery::announcement(datagram),
              (LV1Endpoint{"LV1 Stand-in", "127.0.0.1", sim.port(), "02:00:00:00:00:01"}));
    EXPECT_FALSE(elsewhere.hasDatagram());
    EXPECT_THAT(reports, testing::IsEmpty());
}

TEST(ConsoleSimAnnouncement, SaysOnceWhyItIsNotPossible) {
    CORVANE_ENTER_PRIVATE_NETWORK(); // whose loopback interface does no multicast
    ConsoleSimOptions options;
    options.announce = "multicast";
    options.announceInterval = std::chrono::milliseconds(1);
    ConsoleSim sim(options);
    std::vector<std::string> reports;
    sim.onReport = [&](const std::string &text) { reports.push_back(text); };
    int rounds = 0;
    EXPECT_TRUE(eventually([&] {
        sim.poll();
        return ++rounds > 20;
    }));
    EXPECT_THAT(reports, ElementsAre("cannot announce: no interface can do multicast"));
}

TEST(ConsoleSimAnnouncement, ToAnUnknownHostIsRefused) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    ConsoleSimOptions options;
    options.announce = "no.such.host.invalid";
    EXPECT_THROW(ConsoleSim{options}, std::system_error);
}

TEST_F(ConsoleSimTest, MayDieWithClientsConnected) {
    Client client(sim.port());
    client.greet();
    ASSERT_TRUE(comes([&] { return sim.acceptedClients() == 1; }));
}

} // namespace
} // namespace corvane::sim
