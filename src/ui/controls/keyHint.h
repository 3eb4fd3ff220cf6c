#pragma once

#include <QString>

namespace teskal {

/// \a text with a key hint at its end, such as "Attach (⌘U)", in the key names of this platform:
/// "Attach (Ctrl+U)". Texts without a hint in key symbols come back unchanged.
QString keyHint(const QString& text);

} // namespace teskal
