#include "Appearance.h"

namespace teskal {

QLatin1String appearanceName(Appearance appearance) {
    switch (appearance) {
    case Appearance::Light:
        return QLatin1String("light");
    case Appearance::Dark:
        return QLatin1String("dark");
    case Appearance::System:
        break;
    }
    return QLatin1String("system");
}

Appearance appearanceNamed(QStringView name) {
    for (const Appearance appearance : {Appearance::Light, Appearance::Dark}) {
        if (name == appearanceName(appearance))
            return appearance;
    }
    return Appearance::System;
}

} // namespace teskal
