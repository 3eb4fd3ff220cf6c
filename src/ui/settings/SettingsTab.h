#pragma once

#include <QLatin1String>
#include <QStringView>

namespace teskal {

/// The panes of the settings window, in the order of their tabs.
enum class SettingsTab { General, Privacy, Models };

/// The name under which the choice is stored: "general", "privacy" or "models".
QLatin1String settingsTabName(SettingsTab tab);

/// The tab stored under \a name; General for a name that is not known.
SettingsTab settingsTabNamed(QStringView name);

} // namespace teskal
