#include "app/BezelButton.h"

#include "app/Look.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>

namespace corvane {

namespace {

constexpr int largeHeight = 30;
constexpr int sideMargin = 16;
constexpr qreal radius = 6;
constexpr qreal focusWidth = 2;
constexpr int textPoints = 13;
constexpr int symbolSize = 12;
constexpr int symbolGap = 7;
constexpr qreal strokeWidth = 2.4;
/// How much of its colour a disabled button keeps.
constexpr float disabledStrength = 0.35F;

/// The lines of a symbol in a square whose edges are 1 long.
QPainterPath outline(ButtonLook::Symbol symbol) {
    QPainterPath path;
    const auto draw = [&path](std::initializer_list<QPointF> points) {
        path.moveTo(*points.begin());
        for (const QPointF &point : points)
            path.lineTo(point);
    };
    if (symbol == ButtonLook::Symbol::check) {
        draw({{0.05, 0.55}, {0.37, 0.87}, {0.97, 0.15}});
    } else if (symbol == ButtonLook::Symbol::triangle) {
        draw({{0.5, 0.06}, {0.99, 0.92}, {0.01, 0.92}, {0.5, 0.06}});
    } else if (symbol == ButtonLook::Symbol::cross) {
        draw({{0.1, 0.1}, {0.9, 0.9}});
        draw({{0.9, 0.1}, {0.1, 0.9}});
    }
    return path;
}

/// Leaves the painter with a pen of the colour.
void drawSymbol(QPainter &painter, ButtonLook::Symbol symbol, QPoint corner, const QColor &color) {
    painter.setPen(QPen(color, strokeWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(symbol == ButtonLook::Symbol::triangle ? QBrush(color) : Qt::NoBrush);
    painter.drawPath(
        QTransform::fromTranslate(corner.x(), corner.y()).scale(symbolSize, symbolSize).map(outline(symbol)));
}

} // namespace

BezelButton::BezelButton(const QString &title, QWidget *parent) : PushButton(title, parent) {
    setFont(look::font(textPoints, QFont::DemiBold));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus);
}

void BezelButton::setLook(const ButtonLook &newLook, const QString &meaning) {
    look = newLook;
    setToolTip(meaning);
    setAccessibleDescription(meaning);
    updateGeometry();
    update();
}

int BezelButton::contentWidth() const {
    const int symbolRoom = look.symbol == ButtonLook::Symbol::none ? 0 : symbolSize + symbolGap;
    return symbolRoom + QFontMetrics(font()).horizontalAdvance(text());
}

QSize BezelButton::sizeHint() const {
    return {contentWidth() + 2 * sideMargin, largeHeight};
}

QColor BezelButton::bezel() const {
    QColor color = look::color(look);
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
    QRect content({}, QSize(contentWidth(), height()));
    content.moveCenter(rect().center());
    drawSymbol(painter, look.symbol, {content.left(), (height() - symbolSize) / 2}, tint);
    painter.drawText(content, Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine, text());
}

} // namespace corvane
