#pragma once

#include <functional>

class QMainWindow;

namespace corvane {

/// The application's one menu: About, Hide, Hide Others, Show All, Quit. On macOS in the menu bar of the
/// screen, elsewhere in that of the window, where hiding means minimising.
void buildApplicationMenu(QMainWindow &window, std::function<void()> showAbout);

} // namespace corvane
