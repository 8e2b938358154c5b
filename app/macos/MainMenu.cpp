#include "app/MainMenu.h"

#include "app/AboutText.h"
#include "platform/host/macos/MacApplication.h"

#include <utility>

namespace corvane {

void buildApplicationMenu(QMainWindow & /*window*/, std::function<void()> showAbout) {
    installApplicationMenu(applicationName, std::move(showAbout));
}

} // namespace corvane
