#include "app/MainMenu.h"

#include "app/AboutText.h"
#include "platform/host/macos/MacApplication.h"

#include <QMainWindow>
#include <QTimer>

#include <utility>

namespace corvane {

void buildApplicationMenu(QMainWindow &window, std::function<void()> showAbout) {
    installApplicationMenu(applicationName, std::move(showAbout));
    // Once it is shown: until then Qt still moves it.
    QTimer::singleShot(0, &window,
                       [&window] { keepWindowInPlace(reinterpret_cast<void *>(window.winId())); });
}

} // namespace corvane
