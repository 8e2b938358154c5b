#include "platform/files/ShellValue.h"
#include "platform/host/HostInformation.h"
#include "platform/host/InterfaceList.h"
#include "platform/host/SystemDescription.h"
#include "tests/support/PrivateNetwork.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sched.h>
#include <set>
#include <sys/utsname.h>
#include <sys/wait.h>
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

/// What a computer is called whose system has such a name for it. Ends the process, with 0 when that is
/// `wanted`.
[[noreturn]] void compareNameAndExit(const std::string &hostName, const std::optional<std::string> &wanted) {
    const bool isRenamed = (::unshare(CLONE_NEWUTS) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWUTS) == 0) &&
                           ::sethostname(hostName.data(), hostName.size()) == 0;
    ::_exit(!isRenamed ? 2 : computerName("/none") == wanted ? 0 : 1);
}

TEST(HostInformation, AHostNameCountsWithoutItsDomainAndOnlyWhenSomebodyHasGivenIt) {
    using Name = std::optional<std::string>;
    for (const auto &[hostName, wanted] : {std::pair("foh", Name("foh")),
                                           {"foh.example.org", "foh"},
                                           {"localhost", {}},
                                           {"localhost.localdomain", {}},
                                           {"(none)", {}},
                                           {"", {}},
                                           {"foh\xFF", {}}}) {
        const pid_t child = ::fork();
        if (child == 0)
            compareNameAndExit(hostName, wanted);
        int ended = 0;
        ASSERT_EQ(::waitpid(child, &ended, 0), child);
        if (WEXITSTATUS(ended) == 2)
            GTEST_SKIP() << "no host name of its own";
        EXPECT_EQ(ended, 0) << hostName;
    }
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

TEST(HostInformation, AnEthernetAddressIsSixPairsOfDigits) {
    const std::array<std::uint8_t, 7> bytes{0x00, 0x1F, 0x90, 0xAB, 0xCD, 0xEF, 0x77};
    EXPECT_EQ(ethernetAddressText(bytes.data()), "00:1f:90:ab:cd:ef");
}

TEST(InterfaceList, AllAreListedOnceWithWhatTheyCanAndWithTheirAddresses) {
    CORVANE_ENTER_PRIVATE_NETWORK();
    std::string reason;
    const auto neighbour = PrivateNetwork::Neighbour::join(reason);
    if (!neighbour)
        GTEST_SKIP() << reason;
    ASSERT_EQ(
        std::system("ip address add 10.78.0.1/24 dev corvane0 && "
                    "ip link add idle type veth peer name bare && ip address add 10.79.0.1/24 dev idle"),
        0);
    std::map<std::string, std::string> described;
    for (const auto &each : interfaceList()) {
        auto &text = described[each.name];
        text += each.up ? "up" : "down";
        text += each.multicast ? ", multicast:" : ":";
        for (const auto &address : each.addresses)
            if (!address.starts_with("fe80:")) // which takes a while
                text += " " + address;
    }
    const bool hasIPv6 = described["lo"].ends_with(" ::1");
    EXPECT_EQ(described, (std::map<std::string, std::string>{
                             {"corvane0", "up, multicast: 10.77.0.1 10.78.0.1"},
                             {"idle", "down, multicast: 10.79.0.1"},
                             {"lo", std::string("up: 127.0.0.1") + (hasIPv6 ? " ::1" : "")}}));
}

TEST(SystemDescription, NamesTheSystemAndItsKernel) {
    utsname names{};
    ASSERT_EQ(::uname(&names), 0);
    const auto kernel = std::string(names.sysname) + " " + names.release + " " + names.machine;
    EXPECT_EQ(kernelDescription(), kernel);
    EXPECT_EQ(systemDescription(),
              shellValue("/etc/os-release", "PRETTY_NAME").value_or("Linux") + ", " + kernel);
}

} // namespace
} // namespace corvane
