#include "app/HostMenu.h"

#include "app/Look.h"
#include "app/ShownText.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>

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
}

void HostMenu::refill(const std::vector<std::string> &titles) {
    const bool open = view()->isVisible();
    const int rowsBefore = count();
    const QString selected = currentText();
    const int position = currentIndex();
    const QString marked = view()->currentIndex().data().toString();
    const int markedPosition = view()->currentIndex().row();
    setTitles(titles);
    setCurrentIndex(positionOf(selected, position));
    if (!open || count() == 0)
        return;
    view()->setCurrentIndex(model()->index(positionOf(marked, markedPosition), 0));
    const auto shown = [this](int rows) { return std::clamp(rows, 1, maxVisibleItems()); };
    QWidget *list = view()->window();
    list->resize(list->width(),
                 list->height() + (shown(count()) - shown(rowsBefore)) * view()->sizeHintForRow(0));
}

/// Changes the entries in place, so that an open list stays open.
void HostMenu::setTitles(const std::vector<std::string> &titles) {
    const int wanted = static_cast<int>(titles.size());
    while (count() > wanted)
        removeItem(count() - 1);
    for (int position = 0; position < wanted; ++position) {
        const QString title = QString::fromStdString(titles[static_cast<std::size_t>(position)]);
        if (position == count())
            addItem({});
        setItemText(position, oneLine(title));
        setItemData(position, plainToolTip(title), Qt::ToolTipRole);
    }
}

int HostMenu::positionOf(const QString &title, int before) const {
    if (itemText(before) == title)
        return std::max(before, 0);
    return std::max(findText(title, Qt::MatchExactly | Qt::MatchCaseSensitive), 0);
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

void HostMenu::keyPressEvent(QKeyEvent *event) {
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_F4:
    case Qt::Key_Space:
        if (!event->isAutoRepeat())
            showPopup();
        break;
    default:
        event->ignore(); // also Return, which is the window's
    }
}

void HostMenu::wheelEvent(QWheelEvent *event) {
    event->ignore();
}

} // namespace corvane
