#pragma once

#include <QString>

namespace corvane {

/// A tooltip that shows `text` as it is, line by line: names on the console may look like markup. Long lines
/// are wrapped, also within a name that has no blanks. Empty for no text.
QString plainToolTip(const QString &text);

} // namespace corvane
