#include "SettingsStatus.h"

namespace teskal {

namespace {

constexpr int inset = 2;
constexpr int gap = 8;

} // namespace

SettingsStatus::SettingsStatus(const Theme& theme, QWidget* parent)
    : AlertLabel(theme, TextRole::Quiet, parent) {
    setObjectName(QStringLiteral("settingsStatus"));
    setContentsMargins(inset, gap, inset, 0);
    hide();
}

void SettingsStatus::setStatus(const QString& activity, const QString& error) {
    say(error.isEmpty() ? activity : error, !error.isEmpty());
    setVisible(!text().isEmpty()); // once it says what it is shown for
}

} // namespace teskal
