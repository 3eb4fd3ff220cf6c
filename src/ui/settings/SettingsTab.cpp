#include "SettingsTab.h"

namespace teskal {

QLatin1String settingsTabName(SettingsTab tab) {
    switch (tab) {
    case SettingsTab::Privacy:
        return QLatin1String("privacy");
    case SettingsTab::Models:
        return QLatin1String("models");
    case SettingsTab::General:
        break;
    }
    return QLatin1String("general");
}

SettingsTab settingsTabNamed(QStringView name) {
    for (const SettingsTab tab : {SettingsTab::Privacy, SettingsTab::Models}) {
        if (name == settingsTabName(tab))
            return tab;
    }
    return SettingsTab::General;
}

} // namespace teskal
