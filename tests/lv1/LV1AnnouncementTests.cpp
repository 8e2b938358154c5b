#include "tests/lv1/DiscoveryTest.h"

#include <optional>
#include <span>

namespace corvane {
namespace {

// Announcements

struct AnnouncementCase {
    const char *name;
    std::size_t position;
    OSCValue value;
};

class RefusedAnnouncement : public testing::TestWithParam<AnnouncementCase> {};

std::vector<OSCValue> announcedValues(const LV1Endpoint &endpoint) {
    const auto message = OSCCodec::parse(announcement(endpoint)).value();
    return {message.values.begin(), message.values.end()};
}

std::optional<LV1Endpoint> read(const std::string &address, const std::vector<OSCValue> &values) {
    return LV1MulticastDiscovery::announcement(OSCCodec::message(address, std::span<const OSCValue>(values)));
}

TEST_P(RefusedAnnouncement, IsIgnored) {
    auto values = announcedValues(one);
    values.at(GetParam().position) = GetParam().value;
    EXPECT_EQ(read("/zDNS", values), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    Announcement, RefusedAnnouncement,
    testing::Values(AnnouncementCase{"OfAnotherService", 0, "_http._tcp"},
                    AnnouncementCase{"OfAServiceWithAFinalDot", 0, "_waveslv113._tcp."},
                    AnnouncementCase{"WhoseServiceIsNoText", 0, 1},
                    AnnouncementCase{"WhoseNameIsNoText", 3, 1}, AnnouncementCase{"OfPort0", 4, 0},
                    AnnouncementCase{"OfPort70000", 4, 70'000}, AnnouncementCase{"OfPort65536", 4, 65'536},
                    AnnouncementCase{"OfANegativePort", 4, -5000},
                    AnnouncementCase{"WhosePortIsWide", 4, std::int64_t{5000}},
                    AnnouncementCase{"WhosePortIsAFloat", 4, 5000.0F},
                    AnnouncementCase{"WhosePortIsText", 4, "5000"}, AnnouncementCase{"WithoutAHost", 8, ""},
                    AnnouncementCase{"WhoseHostIsNoText", 8, 1}, AnnouncementCase{"WhoseMacIsNoText", 12, 1}),
    [](const auto &each) { return each.param.name; });

TEST(LV1Announcement, BecomesAnEndpoint) {
    EXPECT_EQ(read("/zDNS", announcedValues(one)), one);
    EXPECT_EQ(read("/zDNS", announcedValues({"", "h", 1, ""})), (LV1Endpoint{"", "h", 1, ""}));
    EXPECT_EQ(read("/zDNS", announcedValues({"n", "h", 65'535, "m"})), (LV1Endpoint{"n", "h", 65'535, "m"}));
}

TEST(LV1Announcement, Of12ValuesIsIgnoredAndOf14IsNot) {
    auto values = announcedValues(one);
    values.emplace_back(7);
    EXPECT_EQ(read("/zDNS", values), one);
    values.resize(12);
    EXPECT_EQ(read("/zDNS", values), std::nullopt);
}

TEST(LV1Announcement, AtAnotherAddressIsIgnored) {
    EXPECT_EQ(read("/zdns", announcedValues(one)), std::nullopt);
    EXPECT_EQ(read("/zDNS/", announcedValues(one)), std::nullopt);
}

TEST(LV1Announcement, InAFrameIsIgnored) {
    EXPECT_EQ(LV1MulticastDiscovery::announcement(OSCCodec::frame(announcement(one))), std::nullopt);
    EXPECT_EQ(LV1MulticastDiscovery::announcement({}), std::nullopt);
}

} // namespace
} // namespace corvane
