#pragma once

#include <QString>

namespace teskal {

/// The direction that \a text has by its own letters, for painting it: what is elided or ends with a full
/// stop does so at its own end, in whatever direction the window is laid out.
inline Qt::LayoutDirection textDirection(const QString& text) {
    return text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight;
}

} // namespace teskal
