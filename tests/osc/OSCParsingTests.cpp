#include "OSCTestData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace corvane {
namespace {

using V = OSCValue;

struct ParsedMessage {
    const char *name;
    OSCBytes bytes;
    OSCMessage expected;
};

TEST(OSCCodec, WellFormedMessagesAreRead) {
    const std::vector<ParsedMessage> table = {
        {"no values", raw("/x\0\0,\0\0\0"), {"/x", {}}},
        {"empty address", raw("\0\0\0\0,\0\0\0"), {"", {}}},
        {"int, true, text", raw("/a\0\0,iTs\0\0\0\0\0\0\0\1x\0\0\0"), {"/a", {V(1), V(true), V("x")}}},
        {"false", raw("/a\0\0,F\0\0"), {"/a", {V(false)}}},
        {"int64",
         raw("/a\0\0,h\0\0\x80\0\0\0\0\0\0\0"),
         {"/a", {V(std::numeric_limits<std::int64_t>::min())}}},
        {"float", raw("/a\0\0,f\0\0\x3F\x80\0\0"), {"/a", {V(1.0F)}}},
        {"double", raw("/a\0\0,d\0\0\x3F\xE0\0\0\0\0\0\0"), {"/a", {V(0.5F)}}},
        {"double rounds", raw("/a\0\0,d\0\0\x3F\xB9\x99\x99\x99\x99\x99\x9A"), {"/a", {V(0.1F)}}},
        {"double beyond a float",
         raw("/a\0\0,d\0\0\x7F\xEF\xFF\xFF\xFF\xFF\xFF\xFF"),
         {"/a", {V(std::numeric_limits<float>::infinity())}}},
        {"double then int", raw("/a\0\0,di\0\0\0\0\0\0\0\0\0\0\0\0\7"), {"/a", {V(0.0F), V(7)}}},
        {"empty text", raw("/a\0\0,s\0\0\0\0\0\0"), {"/a", {V("")}}},
        {"texts of every padding",
         raw("/a\0\0,ssss\0\0\0a\0\0\0ab\0\0abc\0abcd\0\0\0\0"),
         {"/a", {V("a"), V("ab"), V("abc"), V("abcd")}}},
        {"other letters", raw("/a\0\0,s\0\0\xC3\xB1\xE2\x82\xAC\0\0\0"), {"/a", {V("\xC3\xB1\xE2\x82\xAC")}}},
        {"text at the very end without padding", raw("/a\0\0,s\0\0x\0"), {"/a", {V("x")}}},
        {"tags at the very end without padding", raw("/a\0\0,T\0"), {"/a", {V(true)}}},
        {"trailing bytes", raw("/a\0\0,i\0\0\0\0\0\1\xFF\xFF\xFF"), {"/a", {V(1)}}},
        {"padding is not looked at", raw("/a\0!,i\0!\0\0\0\1"), {"/a", {V(1)}}},
        {"an address without a slash", raw("a\0\0\0,\0\0\0"), {"a", {}}},
        {"#reply", raw("#reply\0\0,s\0\0/p\0\0"), {"#reply", {V("/p")}}},
        {"the address is not UTF-8", raw("/\xFF\0\0,i\0\0\0\0\0\1"), {"", {V(1)}}},
    };
    for (const auto &row : table)
        EXPECT_EQ(OSCCodec::parse(row.bytes), std::optional(row.expected)) << row.name;
}

struct MalformedMessage {
    const char *name;
    OSCBytes bytes;
};

TEST(OSCCodec, MalformedMessagesAreNotRead) {
    const std::vector<MalformedMessage> table = {
        {"nothing", {}},
        {"a NUL alone", raw("\0")},
        {"address without NUL", raw("/abc")},
        {"address alone", raw("/x\0\0")},
        {"address alone, unpadded", raw("/x\0")},
        {"tags without NUL", raw("/x\0\0,iii")},
        {"empty tags", raw("/x\0\0\0\0\0\0")},
        {"tags without the comma", raw("/x\0\0i\0\0\0\0\0\0\1")},
        {"comma in second place", raw("/x\0\0 ,i\0\0\0\0\1")},
        {"int without bytes", raw("/x\0\0,i\0\0")},
        {"an int behind a text that lacks its padding", raw("/x\0\0,si\0abcd\0")},
        {"three bytes of an int", raw("/x\0\0,i\0\0\0\0\1")},
        {"three bytes of a float", raw("/x\0\0,f\0\0\0\0\1")},
        {"half of an h", raw("/x\0\0,h\0\0\0\0\0\1")},
        {"seven bytes of an h", raw("/x\0\0,h\0\0\0\0\0\1\0\0\0")},
        {"half of a d", raw("/x\0\0,d\0\0\0\0\0\1")},
        {"seven bytes of a d", raw("/x\0\0,d\0\0\0\0\0\1\0\0\0")},
        {"text without bytes", raw("/x\0\0,s\0\0")},
        {"text without NUL", raw("/x\0\0,s\0\0abcd")},
        {"an int behind an unpadded text", raw("/x\0\0,si\0x\0")},
        {"a text behind an unpadded text", raw("/x\0\0,ss\0x\0")},
        {"tags ask for more than there is", raw("/x\0\0,ii\0\0\0\0\1")},
        {"blob", raw("/x\0\0,ib\0\0\0\0\1\0\0\0\0")},
        {"nil", raw("/x\0\0,N\0\0")},
        {"infinitum", raw("/x\0\0,I\0\0")},
        {"time tag", raw("/x\0\0,t\0\0\0\0\0\0\0\0\0\1")},
        {"character", raw("/x\0\0,c\0\0\0\0\0a")},
        {"symbol", raw("/x\0\0,S\0\0abc\0")},
        {"array", raw("/x\0\0,[i]\0\0\0\0\0\0\0\1")},
        {"unknown tag after good ones", raw("/x\0\0,TFb\0\0\0\0")},
        {"second comma", raw("/x\0\0,,\0\0")},
        {"tag above ASCII", raw("/x\0\0,\xC3\xB1\0")},
        {"#bundle", raw("#bundle\0\0\0\0\0\0\0\0\1\0\0\0\x08/x\0\0,\0\0\0")},
    };
    for (const auto &row : table)
        EXPECT_FALSE(OSCCodec::parse(row.bytes)) << row.name;
}

TEST(OSCCodec, NoProperPrefixOfAMessageThatEndsInANumberIsRead) {
    const auto whole = OSCCodec::message("/Notify/TrackColor",
                                         {1, std::int64_t{2}, "Kick", true, 0.5F, "\xC3\xB1", false, 1.0F});
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(OSCCodec::parse(firstBytes(whole, length))) << "of " << length << " bytes";
    EXPECT_TRUE(OSCCodec::parse(whole));
}

TEST(OSCCodec, TextsThatAreNotStrictUTF8AreEmptyAndTheNextArgumentIsRead) {
    struct Row {
        const char *name;
        OSCBytes text;
    };
    const std::vector<Row> table = {
        {"lone continuation", raw("\x80\0\0\0")},
        {"lead without continuation", raw("\xC3\0\0\0")},
        {"lead before ASCII", raw("\xC3z\0\0")},
        {"cut three-byte form", raw("\xE2\x82\0\0")},
        {"cut four-byte form", raw("\xF0\x9F\x8E\0")},
        {"overlong slash in two bytes", raw("\xC0\xAF\0\0")},
        {"overlong slash in three bytes", raw("\xE0\x80\xAF\0")},
        {"overlong in three bytes, the highest", raw("\xE0\x9F\xBF\0")},
        {"overlong in four bytes", raw("\xF0\x8F\xBF\xBF\0\0\0\0")},
        {"first surrogate", raw("\xED\xA0\x80\0")},
        {"last surrogate", raw("\xED\xBF\xBF\0")},
        {"above U+10FFFF", raw("\xF4\x90\x80\x80\0\0\0\0")},
        {"five-byte form", raw("\xF8\x88\x80\x80\x80\0\0\0")},
        {"FE", raw("\xFE\0\0\0")},
        {"behind eight good bytes", raw("abcdefgh\xFF\0\0\0")},
        {"behind forty good bytes", OSCBytes(40, 'a') + raw("\xFF\0\0\0")},
        {"within a run of good bytes", raw("abcd\xFF"
                                           "efgh\0\0\0")},
    };
    for (const auto &row : table) {
        const auto message = OSCCodec::parse(raw("/x\0\0,si\0") + row.text + raw("\0\0\0\x07"));
        EXPECT_EQ(message, std::optional(OSCMessage{"/x", {V(""), V(7)}})) << row.name;
    }
}

/// Texts are looked at in words and copied in pieces: none may be longer or shorter for what stands around
/// it.
TEST(OSCCodec, TextsOfEveryLengthAreReadWhole) {
    for (std::size_t length = 0; length <= 48; ++length) {
        for (const char *character : {"k", "\x01", "\x7F", "\xC3\xB1"}) {
            std::string text(length, 'a');
            text.replace(length / 2, length == 0 ? 0 : 1, character);
            for (const OSCMessage &message :
                 {OSCMessage{"/x", {V(text)}}, OSCMessage{"/x", {V(text), V("\x01"), V(0x01010101)}},
                  OSCMessage{"/" + text, {V(text), V(text), V(true)}}}) {
                EXPECT_EQ(OSCCodec::parse(OSCCodec::message(message.address, message.values)),
                          std::optional(message))
                    << length;
            }
        }
    }
}

TEST(OSCCodec, BytesBehindATextAreNoPartOfIt) {
    for (std::size_t length = 0; length <= 32; ++length) {
        auto bytes = raw("/x\0\0,si\0") + OSCBytes(length, 'a');
        bytes.push_back(0);
        while (bytes.size() % 4 != 0)
            bytes.push_back(0x80); // padding that is none
        const auto message = OSCCodec::parse(bytes + raw("\x80\x80\x80\x80"));
        EXPECT_EQ(message, std::optional(OSCMessage{"/x", {V(std::string(length, 'a')), V(-2139062144)}}))
            << length;
    }
}

TEST(OSCCodec, ATextThatAMessageCutsShortDoesNotEndInWhatStandsBehindIt) {
    const auto buffer = raw("/x\0\0,s\0\0") + OSCBytes(40, 'a') + OSCBytes(16); // the next frame's header
    for (std::size_t length = 8; length <= 48; ++length)
        EXPECT_FALSE(OSCCodec::parse(OSCCodec::ByteView(buffer).first(length))) << length;
    EXPECT_TRUE(OSCCodec::parse(OSCCodec::ByteView(buffer).first(49)));
}

TEST(OSCCodec, TheEdgesOfUTF8AreRead) {
    for (const char *text :
         {"\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
          "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF", "abcdefghijklmnopq\xC3\xB1rstuvwxyz"}) {
        const OSCMessage message{"/x", {V(text), V(7)}};
        EXPECT_EQ(OSCCodec::parse(OSCCodec::message(message.address, message.values)),
                  std::optional(message));
    }
}

TEST(OSCCodec, MessagesAreReadAtOddAddresses) {
    const OSCMessage message{"/odd", {V(1), V(std::int64_t{2}), V(3.0F), V("four"), V(true)}};
    const auto bytes = OSCCodec::message(message.address, message.values);
    for (std::size_t shift = 0; shift < 8; ++shift) {
        const auto shifted = OSCBytes(shift) + bytes;
        EXPECT_EQ(OSCCodec::parse(OSCCodec::ByteView(shifted).subspan(shift)), std::optional(message));
    }
}

TEST(OSCCodec, AMessageOfTagsAloneTakesNoMoreRoomThanItsValues) {
    auto bytes = raw("/x\0\0,") + OSCBytes(1'999'980, 'T') + raw("\0\0\0\0");
    const auto message = OSCCodec::parse(bytes);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->values.size(), 1'999'980U);
    EXPECT_EQ(message->values.capacity(), message->values.size());
    EXPECT_TRUE(std::all_of(message->values.begin(), message->values.end(),
                            [](const V &value) { return value == V(true); }));
}

TEST(OSCCodec, TagsThatClaimMoreThanTheMessageHoldsAreRefused) {
    for (const char tag : {'i', 'h', 'f', 'd', 's'}) {
        const auto bytes =
            raw("/x\0\0,") + OSCBytes(1'999'975, static_cast<std::uint8_t>(tag)) + raw("\0\0\0\0\0");
        EXPECT_FALSE(OSCCodec::parse(bytes)) << tag;
    }
}

TEST(OSCCodec, WhatIsEncodedIsReadBack) {
    const std::vector<OSCMessage> table = {
        {"/handshake", {}},
        {"/ping", {V(1), V(2)}},
        {"/Notify/TrackColor", {V(1), V(0), V(7), V(0.25F), V(-0.5F), V(1.0F)}},
        {"", {V(""), V("\xF0\x9F\x8E\xB8 solo"), V(std::int64_t{-1}), V(false), V(true)}},
        {"/Notify/Scene/Name", {V("Verse 2")}},
    };
    for (const auto &message : table)
        EXPECT_EQ(OSCCodec::parse(OSCCodec::message(message.address, message.values)),
                  std::optional(message));
}

} // namespace
} // namespace corvane
