#pragma once

#include <QIcon>

namespace corvane {

// What the desktop wants of an application beyond what Qt does for it. Called on the main thread, once the
// application object exists.

/// An ordinary application in the dark appearance, also in what the system itself draws.
void prepareDesktop();

/// Brings the application in front of all others, where a window cannot do so for itself.
void bringApplicationToFront();

/// Marks the application's icon in the Dock, or takes the mark away.
void showApplicationBadge(bool shown);

/// The icon that stands for the application: its own, or else the one that the system shows for it.
QIcon applicationIcon();

} // namespace corvane
