#pragma once

#include "app/ButtonLook.h"

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QString>

class QApplication;

namespace corvane::look {

/// A grey, 0 black to 1 white.
QColor grey(double white);

/// The colour of a button's bezel.
QColor color(const ButtonLook &button);

/// Marks what has the keyboard, and the default button of a dialogue.
QColor accent();

inline constexpr double windowGrey = 0.105;
inline constexpr double captionGrey = 0.78;
inline constexpr double statusGrey = 0.72;
/// Text of secondary importance.
inline constexpr double secondaryGrey = 0.58;

/// The system font at a size in points of the layout, which are the display's own pixels at 1x.
QFont font(int points, QFont::Weight weight = QFont::Normal);

/// The colours of all that the desktop would else colour in its own way.
QPalette darkPalette();

/// Gives the application its dark look, the same on every system.
void apply(QApplication &application);

/// The style sheet of the main window's plainer controls.
QString styleSheet();

} // namespace corvane::look
