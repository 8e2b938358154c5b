#include "app/AboutText.h"
#include "app/Dialogs.h"
#include "platform/host/macos/MacApplication.h"

#include <QString>

#include <string>

namespace corvane {

/// The system's panel has no place for a button, but its credits scroll.
void openAbout(QWidget * /*parent*/, const QIcon & /*icon*/, const QString &notices) {
    showStandardAboutPanel(applicationName, std::string(aboutCredits) + "\n\n" + notices.toStdString(),
                           aboutIconSize);
}

} // namespace corvane
