#include "app/PlainToolTip.h"

namespace corvane {

namespace {

/// Letters in a row after which a line may be broken even without a blank.
constexpr int unbrokenLetters = 40;
constexpr QChar zeroWidthSpace{0x200B};

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

} // namespace

QString plainToolTip(const QString &text) {
    return text.isEmpty() ? text
                          : "<p style='white-space:pre-wrap'>" + breakable(text).toHtmlEscaped() + "</p>";
}

} // namespace corvane
