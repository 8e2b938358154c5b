#include "OSCTestData.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace corvane {
namespace {

struct PaddedText {
    const char *name;
    std::string text;
    OSCBytes expected;
};

TEST(OSCCodec, ATextIsFollowedByOneToFourNULs) {
    const std::vector<PaddedText> table = {
        {"empty", "", raw("\0\0\0\0")},
        {"one byte", "a", raw("a\0\0\0")},
        {"three bytes", "abc", raw("abc\0")},
        {"three bytes of an address", "/ab", raw("/ab\0")},
        {"four bytes", "abcd", raw("abcd\0\0\0\0")},
        {"two-byte letter", "\xC3\xB1", raw("\xC3\xB1\0\0")},
        {"four-byte character", "\xF0\x9F\x8E\xB8", raw("\xF0\x9F\x8E\xB8\0\0\0\0")},
        {"invalid UTF-8 becomes the empty text", "ab\xFF", raw("\0\0\0\0")},
    };
    for (const auto &row : table)
        EXPECT_EQ(OSCCodec::paddedString(row.text), row.expected) << row.name;
}

struct EncodedMessage {
    const char *name;
    OSCMessage message;
    OSCBytes expected;
};

TEST(OSCCodec, MessagesAreEncodedByteForByte) {
    using V = OSCValue;
    const auto smallest = std::numeric_limits<std::int32_t>::min();
    const std::vector<EncodedMessage> table = {
        {"no values", {"/x", {}}, raw("/x\0\0,\0\0\0")},
        {"no address", {"", {}}, raw("\0\0\0\0,\0\0\0")},
        {"int, true, text", {"/a", {V(1), V(true), V("x")}}, raw("/a\0\0,iTs\0\0\0\0\0\0\0\1x\0\0\0")},
        {"true and false", {"/a", {V(true), V(false)}}, raw("/a\0\0,TF\0")},
        {"three values fill the tags", {"/a", {V(false), V(false), V(false)}}, raw("/a\0\0,FFF\0\0\0\0")},
        {"negative int", {"/a", {V(-2)}}, raw("/a\0\0,i\0\0\xFF\xFF\xFF\xFE")},
        {"smallest int", {"/a", {V(smallest)}}, raw("/a\0\0,i\0\0\x80\0\0\0")},
        {"int64",
         {"/a", {V(std::int64_t{0x0102030405060708})}},
         raw("/a\0\0,h\0\0\x01\x02\x03\x04\x05\x06\x07\x08")},
        {"negative int64",
         {"/a", {V(std::int64_t{-1})}},
         raw("/a\0\0,h\0\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF")},
        {"float", {"/a", {V(0.5F)}}, raw("/a\0\0,f\0\0\x3F\0\0\0")},
        {"negative zero", {"/a", {V(-0.0F)}}, raw("/a\0\0,f\0\0\x80\0\0\0")},
        {"empty text", {"/a", {V("")}}, raw("/a\0\0,s\0\0\0\0\0\0")},
        {"text of four bytes", {"/a", {V("Kick")}}, raw("/a\0\0,s\0\0Kick\0\0\0\0")},
        {"invalid text between others",
         {"/a", {V(1), V("long enough to be cut \xC0\xAF"), V(2)}},
         raw("/a\0\0,isi\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\2")},
        {"invalid address", {"/\xED\xA0\x80/long", {V(3)}}, raw("\0\0\0\0,i\0\0\0\0\0\3")},
    };
    for (const auto &row : table)
        EXPECT_EQ(OSCCodec::message(row.message.address, row.message.values), row.expected) << row.name;
}

TEST(OSCCodec, ANotANumberKeepsItsBits) {
    const auto bits = std::numeric_limits<float>::quiet_NaN();
    const auto bytes = OSCCodec::message("/a", {bits});
    EXPECT_EQ(bytes, raw("/a\0\0,f\0\0\x7F\xC0\0\0"));
}

TEST(OSCCodec, NumbersAloneAreBigEndian) {
    EXPECT_EQ(OSCCodec::int32(1), raw("\0\0\0\1"));
    EXPECT_EQ(OSCCodec::int32(-1), raw("\xFF\xFF\xFF\xFF"));
    EXPECT_EQ(OSCCodec::uint32(0x12345678), raw("\x12\x34\x56\x78"));
    EXPECT_EQ(OSCCodec::uint32(0xFFFFFFFE), OSCCodec::int32(-2));
}

TEST(OSCCodec, AFrameIsTheLengthThenTwoThenZeroThenThePayload) {
    const auto payload = raw("/x\0\0,\0\0\0");
    EXPECT_EQ(OSCCodec::frame(payload), raw("\0\0\0\x08\0\0\0\2\0\0\0\0/x\0\0,\0\0\0"));
    EXPECT_EQ(OSCCodec::frame({}), raw("\0\0\0\0\0\0\0\2\0\0\0\0"));
}

TEST(OSCCodecDeathTest, APayloadLongerThanItsHeaderCanSayStopsTheProgram) {
    const OSCBytes bytes(1);
    // Its length alone is looked at.
    const OSCCodec::ByteView tooLong(bytes.data(), std::size_t{1} << 32U);
    EXPECT_DEATH(OSCCodec::frame(tooLong), "longer than its header can say\n");
}

} // namespace
} // namespace corvane
