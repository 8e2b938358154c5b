#include "app/ElidedLabel.h"

#include "app/ShownText.h"

#include <QEvent>
#include <QHelpEvent>
#include <QPainter>
#include <QTextLayout>
#include <QToolTip>

#include <algorithm>

namespace corvane {

ElidedLabel::ElidedLabel(const QString &text, QWidget *parent) : QLabel(text, parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setDetail(const QString &text) {
    detail = text;
    setAccessibleDescription(text);
}

QStringList ElidedLabel::lines() const {
    const QString all = oneLine(text());
    const int room = std::max(1, contentsRect().height() / fontMetrics().lineSpacing());
    const int width = contentsRect().width();
    QStringList lines;
    qsizetype start = 0;
    QTextLayout layout(all, font());
    QTextOption wrapping;
    wrapping.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(wrapping);
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid() && lines.size() < room - 1;
         line = layout.createLine()) {
        line.setLineWidth(width);
        lines << all.mid(start, line.textLength());
        start += line.textLength();
    }
    layout.endLayout();
    if (start < all.size() || lines.isEmpty())
        lines << fontMetrics().elidedText(all.mid(start), Qt::ElideRight, width);
    return lines;
}

bool ElidedLabel::isElided() const {
    return lines().join(QString()) != oneLine(text());
}

bool ElidedLabel::event(QEvent *event) {
    if (event->type() != QEvent::ToolTip)
        return QLabel::event(event);
    QStringList tip;
    if (isElided())
        tip << text();
    if (!detail.isEmpty())
        tip << detail;
    QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), plainToolTip(tip.join("\n\n")), this);
    return true;
}

void ElidedLabel::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.drawText(contentsRect(), Qt::AlignLeft | Qt::AlignVCenter, lines().join(u'\n'));
}

} // namespace corvane
