#include "app/BusyMark.h"

#include "app/Look.h"

#include <QPainter>

namespace corvane {

namespace {

constexpr int edge = 14;
constexpr qreal strokeWidth = 2;
constexpr int period = 80; // milliseconds
constexpr int step = 30;   // degrees
constexpr int arc = 260;

} // namespace

BusyMark::BusyMark(QWidget *parent) : QWidget(parent) {
    setFixedSize(edge, edge);
    setAccessibleName(QStringLiteral("The session is being updated"));
}

void BusyMark::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(look::grey(look::captionGrey), strokeWidth, Qt::SolidLine, Qt::RoundCap));
    const qreal inset = strokeWidth / 2 + 0.5;
    const int unit = 16; // of an angle, to a degree
    painter.drawArc(QRectF(rect()).adjusted(inset, inset, -inset, -inset), -angle * unit, arc * unit);
}

void BusyMark::showEvent(QShowEvent *) {
    turn.start(period, this);
}

void BusyMark::hideEvent(QHideEvent *) {
    turn.stop();
}

void BusyMark::timerEvent(QTimerEvent *) {
    angle = (angle + step) % 360;
    update();
}

} // namespace corvane
