#pragma once

#include <QString>

namespace corvane {

// Texts from outside as they are shown. A name on the console may hold anything and have any length: it is
// cut off with "…" beyond what anyone could read, because laying out a very long text blocks the window.

/// For a place of one line: line breaks are blanks.
QString oneLine(QString text);

/// A tooltip that shows `text` as it is, line by line, for names may look like markup. Long lines are
/// wrapped, also within a name that has no blanks. Empty for no text.
QString plainToolTip(const QString &text);

/// The text, cut off with "…" where it is too long to be read.
QString readable(const QString &text);

} // namespace corvane
