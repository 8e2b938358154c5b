#include "lv1/LV1MulticastDiscovery.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Eventually.h"
#include "tests/support/Peers.h"
#include "tests/support/PrivateNetwork.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace corvane {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

const std::string program = builtPrograms() / "lv1-console-sim";

TEST(ConsoleProgram, SaysWhereItListensAndObeysCommands) {
    ChildProcess console(program);
    ASSERT_TRUE(console.says("\n"));
    EXPECT_THAT(console.output(), StartsWith("listening on "));
    console.type("dance");
    EXPECT_TRUE(console.complains("dance: unknown command\n"));
    console.type("quit");
    EXPECT_EQ(console.exitStatus(), 0);
}

TEST(ConsoleProgram, GoesOnWhenItsInputEndsAndEndsOnASignal) {
    ChildProcess console(program);
    ASSERT_TRUE(console.says("listening on "));
    console.type("nonsense"); // and then no line feed
    console.closeInput();
    ASSERT_TRUE(console.complains("nonsense"));
    console.signal(SIGTERM);
    EXPECT_EQ(console.exitStatus(), 0);
}

TEST(ConsoleProgram, AnnouncesItselfUnderItsNameWithThePortItListensOn) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    const DatagramPeer listener(13337);
    ChildProcess console(program, {"--announce", "127.0.0.1", "--name", "Sala Ñ"});
    ASSERT_TRUE(eventually([&] { return listener.hasDatagram(); }));
    const auto endpoint = LV1MulticastDiscovery::announcement(listener.receive());
    ASSERT_TRUE(endpoint);
    EXPECT_EQ(endpoint->name, "Sala Ñ");
    EXPECT_TRUE(console.says("listening on " + std::to_string(endpoint->port) + "\n"));
}

TEST(ConsoleProgram, CommandsMayComeFromAFile) {
    const TemporaryFolder folder;
    const auto file = folder.write("commands", "rename 99 x\nquit\n");
    ChildProcess console("/bin/sh", {"-c", program + " < " + file.string()});
    EXPECT_EQ(console.exitStatus(), 0);
    EXPECT_EQ(console.errors(), "rename 99 x: there is no channel of this number\n");
}

TEST(ConsoleProgram, APatchFileThatCannotBeUsedIsWrongUsage) {
    const TemporaryFolder folder;
    const auto file = folder.write("patch.json", R"({"version":1,"channels":[{"name":7}]})");
    ChildProcess console(program, {"--patch", file.string()});
    EXPECT_EQ(console.exitStatus(), 2);
    EXPECT_THAT(console.errors(), HasSubstr("channel 1: \"name\" must be a text"));
    EXPECT_EQ(console.output(), "");
}

TEST(ConsoleProgram, UnknownOptionsAndPortsAreWrongUsage) {
    ChildProcess option(program, {"--bogus"});
    EXPECT_EQ(option.exitStatus(), 2);
    ChildProcess port(program, {"--port", "70000"});
    EXPECT_EQ(port.exitStatus(), 2);
}

TEST(ConsoleProgram, APortIsDecimalWhateverStandsInFront) {
    const auto port = std::to_string(unusedPort());
    ChildProcess decimal(program, {"--port", "0" + port});
    EXPECT_TRUE(decimal.says("listening on " + port + "\n")) << decimal.errors();
    ChildProcess hexadecimal(program, {"--port", "0x2710"});
    EXPECT_EQ(hexadecimal.exitStatus(), 2);
}

TEST(ConsoleProgram, APortInUseIsSaidToBeSo) {
    ChildProcess first(program);
    ASSERT_TRUE(first.says("\n"));
    const auto output = first.output();
    const auto port = std::to_string(std::stoi(output.substr(output.find_last_of(' ') + 1)));
    ChildProcess second(program, {"--port", port});
    EXPECT_EQ(second.exitStatus(), 1);
    EXPECT_EQ(second.errors(), "TCP port " + port + " is in use by another program.\n");
}

} // namespace
} // namespace corvane
