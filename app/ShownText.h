#pragma once

#include <QString>

namespace corvane {

// Texts of others as they are shown. A name on the console may hold anything, and be of any length; what
// nobody could read on a screen is cut off with "…", for laying it out would hold up the window.

/// For a place of one line: line breaks are blanks.
QString oneLine(QString text);

/// A tooltip that shows `text` as it is, line by line, for names may look like markup. Long lines are
/// wrapped, also within a name that has no blanks. Empty for no text.
QString plainToolTip(const QString &text);

/// The text as it is, if it is not too long to be read.
QString readable(const QString &text);

} // namespace corvane
