#pragma once

#include <functional>
#include <string>
#include <vector>

namespace corvane {

// What the window needs of AppKit itself. Called on the main thread, once the application object exists.

/// An ordinary application, with its icon in the Dock and a menu bar, in the dark appearance.
void prepareApplication();

/// Brings the application in front of all others.
void activateApplication();

/// The text on the application's icon in the Dock; empty for none.
void setDockBadge(const std::string &text);

/// The icon that the system shows for the application, as a PNG file; empty when it has none.
std::vector<unsigned char> applicationIconPNG();

/// The application's one menu, with exactly these items: About, Hide, Hide Others, Show All, Quit.
void installApplicationMenu(const std::string &applicationName, std::function<void()> showAbout);

/// Has the system keep the place of the window that the view is in, and put the window there now if it has
/// one kept. `view` is an NSView.
void keepWindowInPlace(void *view);

/// The standard About panel: icon, version and build are the bundle's own. Brings the application in front.
void showStandardAboutPanel(const std::string &applicationName, const std::string &credits, int iconSize);

} // namespace corvane
