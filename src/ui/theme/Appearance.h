#pragma once

#include <QLatin1String>
#include <QStringView>

namespace teskal {

/// The user's choice of look, in the order in which the choices are offered.
enum class Appearance { System, Light, Dark };

/// The name under which the choice is stored: "system", "light" or "dark".
QLatin1String appearanceName(Appearance appearance);

/// The choice stored under \a name; System for a name that is not known.
Appearance appearanceNamed(QStringView name);

} // namespace teskal
