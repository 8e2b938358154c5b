#include "app/AboutText.h"
#include "app/Dialogs.h"
#include "platform/host/macos/MacApplication.h"

namespace corvane {

void openAbout(QWidget * /*parent*/, const QIcon & /*icon*/) {
    showStandardAboutPanel(applicationName, aboutCredits, aboutIconSize);
}

} // namespace corvane
