#include "app/ShownText.h"

#include <QStringList>

#include <algorithm>

namespace corvane {

namespace {

constexpr qsizetype readableLetters = 2000;
/// Letters in a row after which a line may be broken even without a blank.
constexpr int unbrokenLetters = 40;
constexpr QChar zeroWidthSpace{0x200B};
/// Letters that a line may have without being wrapped. Left to itself, a wrapped text is made rather narrow.
constexpr int lineLetters = 90;

QString breakable(const QString &text) {
    QString broken;
    int row = 0;
    for (const QChar letter : text) {
        if (letter.isSpace())
            row = 0;
        else if (row++ >= unbrokenLetters && !letter.isLowSurrogate() && !letter.isMark()) {
            broken += zeroWidthSpace;
            row = 1;
        }
        broken += letter;
    }
    return broken;
}

bool hasLongLines(const QString &text) {
    const QStringList lines = text.split(u'\n');
    return std::any_of(lines.begin(), lines.end(),
                       [](const QString &line) { return line.size() > lineLetters; });
}

} // namespace

QString readable(const QString &text) {
    if (text.size() <= readableLetters)
        return text;
    const bool splitsLetter = text[readableLetters].isLowSurrogate();
    return text.left(readableLetters - (splitsLetter ? 1 : 0)) + u'…';
}

QString oneLine(QString text) {
    text = readable(text);
    for (QChar &letter : text)
        if (letter == u'\n' || letter == u'\r' || letter == QChar::LineSeparator ||
            letter == QChar::ParagraphSeparator)
            letter = u' ';
    return text;
}

QString plainToolTip(const QString &text) {
    if (text.isEmpty())
        return text;
    const QString shown = readable(text);
    const QString wrapping = hasLongLines(shown) ? QStringLiteral("pre-wrap") : QStringLiteral("pre");
    return "<p style='white-space:" + wrapping + "'>" + breakable(shown).toHtmlEscaped() + "</p>";
}

} // namespace corvane
