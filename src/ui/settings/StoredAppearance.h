#pragma once

#include "theme/Appearance.h"

class QSettings;

namespace teskal {

/// The look that the user chose on this computer; System before the first choice.
Appearance storedAppearance(const QSettings& settings);
void storeAppearance(QSettings& settings, Appearance appearance);

} // namespace teskal
