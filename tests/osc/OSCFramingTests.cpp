#include "OSCTestData.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace corvane {
namespace {

using V = OSCValue;
using Messages = std::vector<OSCMessage>;

const OSCMessage kick{"/name", {V("Kick")}};
const OSCMessage ping{"/ping", {V(1), V(2)}};

OSCBytes framed(const OSCMessage &message) {
    return OSCCodec::frame(OSCCodec::message(message.address, message.values));
}

struct Framing {
    const char *name;
    OSCBytes buffer;
    Messages expected;
    OSCBytes left;
};

TEST(OSCFraming, WholeFramesAreTakenFromTheFrontAndTheRestStays) {
    const auto whole = framed(ping);
    const auto half = firstBytes(whole, whole.size() / 2);
    const auto oddHeader = raw("\0\0\0\x08\xFF\xFE\xFD\xFC\xFB\xFA\xF9\xF8/x\0\0,\0\0\0");
    const auto unreadable = OSCCodec::frame(raw("/x\0\0,ib\0\0\0\0\1\0\0\0\0"));
    const auto bundle = OSCCodec::frame(raw("#bundle\0\0\0\0\0\0\0\0\1"));
    const std::vector<Framing> table = {
        {"nothing", {}, {}, {}},
        {"11 bytes", firstBytes(whole, 11), {}, firstBytes(whole, 11)},
        {"a header alone", firstBytes(whole, 12), {}, firstBytes(whole, 12)},
        {"one byte short", firstBytes(whole, whole.size() - 1), {}, firstBytes(whole, whole.size() - 1)},
        {"one frame", whole, {ping}, {}},
        {"two and a half", framed(kick) + whole + half, {kick, ping}, half},
        {"bytes 4 to 11 are not examined", oddHeader + whole, {{"/x", {}}, ping}, {}},
        {"an unreadable frame is dropped", whole + unreadable + framed(kick), {ping, kick}, {}},
        {"a bundle is dropped", bundle + whole, {ping}, {}},
        {"length 0", header(0) + whole, {}, header(0) + whole},
        {"length 2,000,000", header(2'000'000) + whole, {}, header(2'000'000) + whole},
        {"length 4,294,967,295", header(0xFFFFFFFF) + whole, {}, header(0xFFFFFFFF) + whole},
        {"bad only after good frames", whole + whole + header(0) + whole, {ping, ping}, header(0) + whole},
        {"a one-byte payload", header(1) + raw("/") + whole, {ping}, {}},
    };
    for (const auto &row : table) {
        auto buffer = row.buffer;
        EXPECT_EQ(OSCCodec::readFrames(buffer), row.expected) << row.name;
        EXPECT_EQ(buffer, row.left) << row.name;
    }
}

TEST(OSCFraming, EveryFrameIsCountedWhateverIsInIt) {
    auto buffer = framed(ping) + OSCCodec::frame(raw("/x")) + framed(kick) + firstBytes(framed(kick), 12);
    std::size_t frames = 9;
    EXPECT_EQ(OSCCodec::readFrames(buffer, &frames), (Messages{ping, kick}));
    EXPECT_EQ(frames, 3U);
    EXPECT_TRUE(OSCCodec::readFrames(buffer, &frames).empty());
    EXPECT_EQ(frames, 0U);
}

TEST(OSCFraming, AHeaderIsRefusedAsSoonAsItIsWhole) {
    for (const std::uint32_t length : {0U, 2'000'000U, 0xFFFFFFFFU}) {
        EXPECT_TRUE(OSCCodec::isRefused(header(length)));
        EXPECT_FALSE(OSCCodec::isRefused(firstBytes(header(length), 11)));
    }
    EXPECT_FALSE(OSCCodec::isRefused(header(1)));
    EXPECT_FALSE(OSCCodec::isRefused(header(1'999'999)));
}

TEST(OSCFraming, ABadHeaderIsLeftAsItIsOnEveryLaterCall) {
    for (const std::uint32_t length : {0U, 2'000'000U}) {
        auto buffer = header(length);
        for (int call = 0; call < 5; ++call) {
            const auto before = buffer = buffer + framed(ping);
            EXPECT_TRUE(OSCCodec::readFrames(buffer).empty());
            EXPECT_EQ(buffer, before);
        }
        buffer = framed(ping);
        EXPECT_EQ(OSCCodec::readFrames(buffer), Messages{ping});
    }
}

TEST(OSCFraming, TheLongestFrameIsReadWhenItsLastByteIsThere) {
    const OSCBytes text(1'999'980, 'x');
    auto payload = raw("/long\0\0\0,s\0\0") + text + raw("\0\0\0");
    ASSERT_EQ(payload.size(), 1'999'995U);
    payload.resize(1'999'999); // trailing bytes
    const auto whole = OSCCodec::frame(payload);

    auto buffer = firstBytes(whole, whole.size() - 1);
    EXPECT_TRUE(OSCCodec::readFrames(buffer).empty());
    EXPECT_EQ(buffer.size(), whole.size() - 1);
    buffer.push_back(whole.back());
    const auto messages = OSCCodec::readFrames(buffer);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].values, OSCValues{V(std::string(text.begin(), text.end()))});
    EXPECT_TRUE(buffer.empty());
}

TEST(OSCFraming, AFrameFedOneByteAtATimeIsReadAtItsLastByte) {
    const auto stream = framed(kick) + framed(ping);
    OSCBytes buffer;
    Messages messages;
    for (std::size_t at = 0; at < stream.size(); ++at) {
        buffer.push_back(stream[at]);
        for (auto &message : OSCCodec::readFrames(buffer))
            messages.push_back(std::move(message));
        EXPECT_EQ(messages.size(), at + 1 < framed(kick).size() ? 0U : (at + 1 < stream.size() ? 1U : 2U));
    }
    EXPECT_EQ(messages, (Messages{kick, ping}));
}

/// A stream of good frames, unreadable payloads and, sometimes, a bad header.
OSCBytes randomStream(std::mt19937 &random) {
    OSCBytes stream;
    for (auto frames = random() % 40; frames > 0; --frames) {
        switch (random() % 12) {
        case 0: {
            OSCBytes noise(1 + random() % 50);
            for (auto &byte : noise)
                byte = static_cast<std::uint8_t>(random());
            stream = stream + OSCCodec::frame(noise);
            break;
        }
        case 1:
            if (random() % 8 == 0)
                stream = stream + header(random() % 2 == 0 ? 0 : 2'000'000);
            break;
        default: {
            OSCValues values;
            for (auto count = random() % 6; count > 0; --count) {
                if (random() % 2 == 0)
                    values.emplace_back(static_cast<std::int32_t>(random()));
                else
                    values.emplace_back(std::string(random() % 20, 'n'));
            }
            stream = stream + framed({"/" + std::string(random() % 9, 'a'), values});
        }
        }
    }
    return stream;
}

TEST(OSCFraming, HowAStreamIsCutIntoReadsMakesNoDifference) {
    std::mt19937 random(20261120); // NOLINT: the same streams in every run
    for (int round = 0; round < 400; ++round) {
        const auto stream = randomStream(random);
        auto atOnce = stream;
        const auto expected = OSCCodec::readFrames(atOnce);

        OSCBytes buffer;
        Messages messages;
        for (std::size_t at = 0; at < stream.size();) {
            const auto count = std::min<std::size_t>(1 + random() % 64, stream.size() - at);
            buffer.insert(buffer.end(), stream.begin() + static_cast<std::ptrdiff_t>(at),
                          stream.begin() + static_cast<std::ptrdiff_t>(at + count));
            at += count;
            for (auto &message : OSCCodec::readFrames(buffer))
                messages.push_back(std::move(message));
        }
        ASSERT_EQ(messages, expected) << "round " << round;
        ASSERT_EQ(buffer, atOnce) << "round " << round;
    }
}

} // namespace
} // namespace corvane
