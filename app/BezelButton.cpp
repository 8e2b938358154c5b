#include "app/BezelButton.h"

#include "app/Look.h"

#include <QFontMetrics>
#include <QPainter>

namespace corvane {

namespace {

constexpr int largeHeight = 30;
constexpr int sideMargin = 16;
constexpr qreal radius = 6;
constexpr qreal focusWidth = 2;
constexpr int textPoints = 13;
/// How much of its colour a disabled button keeps.
constexpr float disabledStrength = 0.35F;

} // namespace

BezelButton::BezelButton(const QString &title, QWidget *parent) : PushButton(title, parent) {
    setFont(look::font(textPoints, QFont::DemiBold));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
}

void BezelButton::setLook(const ButtonLook &newLook, const QString &meaning) {
    look = newLook;
    setToolTip(meaning);
    setAccessibleDescription(meaning);
    update();
}

QSize BezelButton::sizeHint() const {
    return {QFontMetrics(font()).horizontalAdvance(text()) + 2 * sideMargin, largeHeight};
}

QColor BezelButton::bezel() const {
    QColor color = QColor::fromRgbF(float(look.red), float(look.green), float(look.blue), float(look.alpha));
    if (!isEnabled())
        color.setAlphaF(color.alphaF() * disabledStrength);
    else if (isDown())
        color = color.darker(130);
    else if (underMouse())
        color = color.lighter(112);
    return color;
}

void BezelButton::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(bezel());
    painter.drawRoundedRect(QRectF(rect()), radius, radius);

    QColor tint = look.tint == ButtonLook::Tint::white ? Qt::white : Qt::black;
    if (hasFocus()) {
        const qreal inset = focusWidth / 2 + 1;
        painter.setPen(QPen(tint, focusWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), radius - 1.5,
                                radius - 1.5);
    }
    if (!isEnabled())
        tint.setAlphaF(0.5F);
    painter.setPen(tint);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, text());
}

} // namespace corvane
