#include "cli/HeldPort.h"

#include <gtest/gtest.h>

namespace corvane::cli {
namespace {

using Holder = HeldPort::Holder;

TEST(HeldPort, ItsHolderIsKnownByTheProgramsName) {
    const std::vector<std::pair<std::string, Holder>> programs{
        {"/opt/LiveTrax3", Holder::liveTrax},     {"/opt/LiveTrax1", Holder::liveTrax},
        {"/usr/bin/corvane", Holder::corvane},    {"/opt/Corvane", Holder::corvane},
        {"/usr/bin/corvanectl", Holder::corvane}, {"/usr/bin/corvanectls", Holder::other},
        {"/LiveTrax3/mail", Holder::other}};
    for (const auto &[program, holder] : programs)
        EXPECT_EQ(holder, heldPort({{7, program}}).holder) << program;
    EXPECT_EQ(Holder::nobody, heldPort({}).holder);
    EXPECT_EQ("corvanectl (process 7)", heldPort({{7, "/usr/bin/corvanectl"}}).name);
}

TEST(HeldPort, OfSeveralHoldersTheOneThatIsInTheWayCountsAndOfSuchTheFirst) {
    const std::vector<UDPPortHolder> holders{
        {1, "/opt/LiveTrax3"}, {2, "/usr/bin/mail"}, {3, "/usr/bin/web"}, {4, "/usr/bin/corvane"}};
    EXPECT_EQ("mail (process 2)", heldPort(holders).name);
    EXPECT_EQ("", ownHolder(holders));
    EXPECT_EQ("\n  It is held by corvane (process 4): as long as it runs, it alone talks to LiveTrax.",
              ownHolder({holders[0], holders[3]}));
    EXPECT_EQ("\n  It is held by LiveTrax3 (process 1).", ownHolder({holders[0]}));
}

} // namespace
} // namespace corvane::cli
