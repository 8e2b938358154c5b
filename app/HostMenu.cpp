#include "app/HostMenu.h"

#include "app/Look.h"
#include "app/PlainToolTip.h"

#include <QHelpEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <QWheelEvent>

namespace corvane {

namespace {

constexpr int largeHeight = 30;
constexpr qreal radius = 6;
constexpr int textInset = 12;
constexpr int arrowRoom = 30;

} // namespace

HostMenu::HostMenu(QWidget *parent) : QComboBox(parent) {
    setFixedHeight(largeHeight);
    setSizeAdjustPolicy(AdjustToMinimumContentsLengthWithIcon);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
}

QRect HostMenu::textRoom() const {
    return rect().adjusted(textInset, 0, -arrowRoom, 0);
}

QString HostMenu::elidedText() const {
    return fontMetrics().elidedText(currentText(), Qt::ElideRight, textRoom().width());
}

bool HostMenu::event(QEvent *event) {
    if (event->type() != QEvent::ToolTip || elidedText() == currentText())
        return QComboBox::event(event);
    QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(),
                       plainToolTip(currentText() + "\n\n" + toolTip()), this);
    return true;
}

void HostMenu::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(hasFocus() ? look::accent() : look::grey(0.28));
    painter.setBrush(look::grey(underMouse() ? 0.205 : 0.175));
    painter.drawRoundedRect(frame, radius, radius);

    painter.setPen(palette().color(QPalette::ButtonText));
    painter.drawText(textRoom(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, elidedText());

    painter.setPen(QPen(look::grey(look::captionGrey), 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    const QPointF tip(width() - arrowRoom / 2.0, height() / 2.0 + 2.5);
    QPainterPath arrow(tip + QPointF(-4.5, -4.5));
    arrow.lineTo(tip);
    arrow.lineTo(tip + QPointF(4.5, -4.5));
    painter.drawPath(arrow);
}

void HostMenu::wheelEvent(QWheelEvent *event) {
    event->ignore();
}

} // namespace corvane
