#include "app/Desktop.h"

#include <QApplication>
#include <QStyle>

namespace corvane {

// Here windows bring themselves to the front, and nothing is drawn that the palette does not reach.

void prepareDesktop() {}

void bringApplicationToFront() {}

QIcon applicationIcon() {
    const QIcon own = QApplication::windowIcon();
    return own.isNull() ? QApplication::style()->standardIcon(QStyle::SP_TitleBarMenuButton) : own;
}

} // namespace corvane
