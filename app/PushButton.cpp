#include "app/PushButton.h"

#include <QKeyEvent>

namespace corvane {

void PushButton::keyPressEvent(QKeyEvent *event) {
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        QPushButton::keyPressEvent(event);
    else if (!event->isAutoRepeat())
        click();
}

} // namespace corvane
