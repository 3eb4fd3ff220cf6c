#include "SettingsStatus.h"

#include <QAccessible>

namespace teskal {

namespace {

constexpr int inset = 2;
constexpr int gap = 8;

} // namespace

SettingsStatus::SettingsStatus(const Theme& theme, QWidget* parent)
    : InkLabel(theme, TextRole::Quiet, &Ink::muted, parent) {
    setObjectName(QStringLiteral("settingsStatus"));
    setWordWrap(true);
    setContentsMargins(inset, gap, inset, 0);
    hide();
}

void SettingsStatus::setStatus(const QString& activity, const QString& error) {
    setColour(error.isEmpty() ? &Ink::muted : &Ink::danger);
    const QString said = error.isEmpty() ? activity : error;
    setVisible(!said.isEmpty());
    if (text() == said)
        return;
    setText(said);
    if (said.isEmpty())
        return;
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

} // namespace teskal
