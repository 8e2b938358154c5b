#include "app/ShownText.h"

#include <gtest/gtest.h>

namespace corvane {

namespace {

TEST(ShownText, OneLineHasABlankForEveryKindOfLineBreak) {
    EXPECT_EQ(oneLine(QStringLiteral("a\nb\rc\u2028d\u2029e")), QStringLiteral("a b c d e"));
}

TEST(ShownText, ATextIsReadableUpToTwoThousandLettersAndIsCutBetweenTwo) {
    const QString whole(2000, 'x');
    EXPECT_EQ(readable(whole), whole);
    EXPECT_EQ(readable(whole + "y"), whole + QStringLiteral("…"));
    // A letter of two halves, at either side of the cut.
    const QString note = QString::fromUtf8("🎵");
    EXPECT_EQ(readable(QString(1999, 'x') + note + "y"), QString(1999, 'x') + QStringLiteral("…"));
    EXPECT_EQ(readable(QString(1998, 'x') + note + "y"), QString(1998, 'x') + note + QStringLiteral("…"));
}

TEST(ShownText, ALongWordMayBeBrokenAfterFortyLetters) {
    const auto places = [](const QString &text) { return plainToolTip(text).count(QChar(0x200B)); };
    EXPECT_EQ(places(QString(40, 'x')), 0);
    EXPECT_EQ(places(QString(41, 'x')), 1);
    EXPECT_EQ(places(QString(80, 'x')), 1);
    EXPECT_EQ(places(QString(81, 'x')), 2);
    EXPECT_EQ(places(QString(40, 'x') + " " + QString(40, 'x')), 0);
}

TEST(ShownText, ALongWordIsBrokenBetweenTwoWholeLetters) {
    const QString place(QChar(0x200B));
    const auto shown = [](const QString &text) { return "<p style='white-space:pre'>" + text + "</p>"; };
    const QString note = QString::fromUtf8("🎵");
    EXPECT_EQ(plainToolTip(QString(39, 'x') + note + "y"), shown(QString(39, 'x') + note + place + "y"));
    const QString accent(QChar(0x0301)); // stands above the letter before
    EXPECT_EQ(plainToolTip(QString(40, 'x') + accent + "y"), shown(QString(40, 'x') + accent + place + "y"));
}

TEST(ShownText, OneLineIsReadableToo) {
    EXPECT_EQ(oneLine(QString(2001, 'x')), QString(2000, 'x') + QStringLiteral("…"));
}

TEST(ShownText, AToolTipIsWrappedWhereALineHasMoreThanNinetyLetters) {
    EXPECT_FALSE(plainToolTip(QString(90, 'x')).contains("pre-wrap"));
    EXPECT_TRUE(plainToolTip(QString(91, 'x')).contains("pre-wrap"));
    EXPECT_FALSE(plainToolTip(QString(60, 'x') + "\n" + QString(60, 'x')).contains("pre-wrap"));
    EXPECT_EQ(plainToolTip("<b>"), "<p style='white-space:pre'>&lt;b&gt;</p>");
    const QString words = QString("many words ").repeated(9);
    EXPECT_EQ(plainToolTip(words), "<p style='white-space:pre-wrap'>" + words + "</p>");
    EXPECT_EQ(plainToolTip(""), "");
}

} // namespace

} // namespace corvane
