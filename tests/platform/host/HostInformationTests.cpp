#include "platform/host/HostInformation.h"
#include "platform/host/InterfaceList.h"
#include "platform/host/SystemDescription.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <unistd.h>

namespace corvane {
namespace {

namespace fs = std::filesystem;

TEST(HostInformation, ThePrettyNameIsPreferred) {
    const TemporaryFolder folder;
    const fs::path file =
        folder.write("machine-info", "CHASSIS=laptop\nPRETTY_HOSTNAME=\"Año's \\\"FOH\\\"\"\n");
    EXPECT_EQ(computerName(file), "Año's \"FOH\"");
    folder.write("machine-info", "PRETTY_HOSTNAME='Front of House'\n");
    EXPECT_EQ(computerName(file), "Front of House");
    folder.write("machine-info", "PRETTY_HOSTNAME=FOH\n");
    EXPECT_EQ(computerName(file), "FOH");
}

TEST(HostInformation, TheHostNameServesWhereThereIsNoPrettyOne) {
    char buffer[256] = {};
    ASSERT_EQ(::gethostname(buffer, sizeof buffer - 1), 0);
    const std::string hostName = std::string(buffer).substr(0, std::string(buffer).find('.'));
    const TemporaryFolder folder;
    for (const char *text : {"", "PRETTY_HOSTNAME=\n", "PRETTY_HOSTNAME=\" \"\n", "PRETTY_HOSTNAME=\"open\n",
                             "PRETTY_HOSTNAME=\"\xFF\"\n"}) {
        const auto name = computerName(folder.write("machine-info", text));
        if (hostName.empty() || hostName == "localhost" || hostName == "(none)")
            EXPECT_EQ(name, std::nullopt);
        else
            EXPECT_EQ(name, hostName);
    }
    EXPECT_NO_THROW(computerName(folder / "none"));
}

TEST(HostInformation, EveryEthernetInterfaceHasItsAddress) {
    std::multiset<std::string> expected;
    for (const auto &entry : fs::directory_iterator("/sys/class/net")) {
        std::string type;
        std::string address;
        std::ifstream(entry.path() / "type") >> type;
        std::ifstream(entry.path() / "address") >> address;
        if (type == "1") // ARPHRD_ETHER
            expected.insert(address);
    }
    const auto addresses = hostInformation().ethernetAddresses;
    EXPECT_EQ(std::multiset<std::string>(addresses.begin(), addresses.end()), expected);
}

TEST(HostInformation, EveryUUIDIsNewAndOfVersion4) {
    std::set<std::string> seen;
    std::set<std::string> fourthGroups;
    for (int i = 0; i < 100; ++i) {
        const std::string uuid = hostInformation().newUUID;
        EXPECT_THAT(uuid, testing::MatchesRegex(
                              "[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
        seen.insert(uuid);
        fourthGroups.insert(uuid.substr(19, 4));
    }
    EXPECT_EQ(seen.size(), 100U);
    EXPECT_GT(fourthGroups.size(), 90U); // 14 bits of chance are in each
}

TEST(InterfaceList, LoopbackIsAmongTheInterfacesOnce) {
    const auto list = interfaceList();
    const auto isLoopback = [](const InterfaceDescription &each) { return each.name == "lo"; };
    ASSERT_EQ(1, std::count_if(list.begin(), list.end(), isLoopback));
    const auto loopback = std::find_if(list.begin(), list.end(), isLoopback);
    EXPECT_TRUE(loopback->up);
    EXPECT_THAT(loopback->addresses, testing::Contains("127.0.0.1"));
}

TEST(SystemDescription, NamesTheSystemAndItsKernel) {
    EXPECT_THAT(kernelDescription(), testing::StartsWith("Linux "));
    EXPECT_THAT(systemDescription(), testing::EndsWith(", " + kernelDescription()));
}

} // namespace
} // namespace corvane
