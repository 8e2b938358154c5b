#include "app/Desktop.h"

#include "platform/host/macos/MacApplication.h"

#include <QApplication>
#include <QPixmap>

namespace corvane {

void prepareDesktop() {
    prepareApplication();
}

void bringApplicationToFront() {
    activateApplication();
}

void showApplicationBadge(bool shown) {
    setDockBadge(shown ? "!" : "");
}

QIcon applicationIcon() {
    if (const QIcon own = QApplication::windowIcon(); !own.isNull())
        return own;
    QPixmap image;
    const std::vector<unsigned char> picture = applicationIconPNG();
    image.loadFromData(picture.data(), static_cast<unsigned int>(picture.size()), "PNG");
    return image;
}

} // namespace corvane
