#include "app/ElidedLabel.h"

#include "app/ShownText.h"

#include <QEvent>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

namespace corvane {

ElidedLabel::ElidedLabel(const QString &text, QWidget *parent) : QLabel(text, parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setDetail(const QString &text) {
    detail = text;
    setAccessibleDescription(text);
}

QString ElidedLabel::elidedText() const {
    return fontMetrics().elidedText(oneLine(text()), Qt::ElideRight, contentsRect().width());
}

bool ElidedLabel::isElided() const {
    return elidedText() != oneLine(text());
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
    painter.setPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, foregroundRole()));
    painter.drawText(contentsRect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, elidedText());
}

} // namespace corvane
