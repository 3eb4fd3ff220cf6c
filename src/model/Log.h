#pragma once

#include <QString>

namespace teskal {

/// Writes the one line "[Teskal] " + \a text to the log (category "teskal"). Never give it tokens, codes or
/// URLs. Line breaks become blanks.
void logLine(QString text);

} // namespace teskal
