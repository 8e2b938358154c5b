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
    EXPECT_GT(std::stoi(console.output().substr(13)), 1023) << "any that is free";
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

TEST(ConsoleProgram, GoesOnWhenAFileOfCommandsEndsAsWell) {
    const TemporaryFolder folder;
    const auto file = folder.write("commands", "rename 99 x\nnonsense");
    ChildProcess console("/bin/sh", {"-c", "exec " + program + " < " + file.string()});
    ASSERT_TRUE(console.complains("nonsense"));
    console.signal(SIGTERM);
    EXPECT_EQ(console.exitStatus(), 0);
}

TEST(ConsoleProgram, APatchFileThatCannotBeUsedIsWrongUsage) {
    const TemporaryFolder folder;
    const auto file = folder.write("patch.json", R"({"version":1,"channels":[{"name":7}]})");
    ChildProcess console(program, {"--patch", file.string()});
    EXPECT_EQ(console.exitStatus(), 2);
    EXPECT_THAT(console.errors(), HasSubstr("channel 1: \"name\" must be a text"));
    EXPECT_EQ(console.output(), "");
}

TEST(ConsoleProgram, TakesItsChannelsFromAFileAndTellsOfItsClients) {
    const TemporaryFolder folder;
    const auto file = folder.write(
        "patch.json", R"({"version":1,"channels":[{"name":"Kick","stereo":false,)"
                      R"("driver":"SG","inputIndex":0,"sourceType":"Mixer_Ch","sourceIndex":1}]})");
    ChildProcess console(program, {"--patch", file.string()});
    ASSERT_TRUE(console.says("listening on "));
    console.type("rename 1 x\nrename 2 x");
    EXPECT_TRUE(console.complains("rename 2 x: there is no channel of this number\n"));
    EXPECT_EQ(console.errors().find("rename 1"), std::string::npos);
    ChildProcess missing(program, {"--patch", (folder / "nowhere.json").string()});
    EXPECT_EQ(missing.exitStatus(), 2);
    EXPECT_THAT(missing.errors(), HasSubstr("nowhere.json"));
}

TEST(ConsoleProgram, HelpHasItsOptionsAndItsCommands) {
    ChildProcess help(program, {"--help"});
    EXPECT_EQ(help.exitStatus(), 0);
    std::size_t at = 0;
    for (const char *text : {"A stand-in for an LV1 console.\n", "Usage: lv1-console-sim [OPTIONS]\n",
                             "TCP port to listen on; any that is free when left out\n",
                             "patch file with the channels, instead of a band's\n",
                             "host to announce to once a second, or multicast\n", "name to announce\n",
                             "send each byte in a segment of its own\n"})
        EXPECT_NE(at = help.output().find(text, at), std::string::npos) << text;
    ChildProcess version(program, {"--version"});
    EXPECT_EQ(version.exitStatus(), 0);
    EXPECT_THAT(version.output(), testing::MatchesRegex("lv1-console-sim [0-9.]+\n"));
}

TEST(ConsoleProgram, UnknownOptionsAndPortsAreWrongUsage) {
    ChildProcess option(program, {"--bogus"});
    EXPECT_EQ(option.exitStatus(), 2);
    ChildProcess port(program, {"--port", "70000"});
    EXPECT_EQ(port.exitStatus(), 2);
    EXPECT_THAT(port.errors(), HasSubstr("--port: is not a port from 0 to 65535: 70000\n"));
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
