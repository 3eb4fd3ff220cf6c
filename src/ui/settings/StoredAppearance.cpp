#include "StoredAppearance.h"

#include <QSettings>

namespace teskal {

namespace {

const QString& appearanceKey() {
    static const QString key = QStringLiteral("appearance");
    return key;
}

} // namespace

Appearance storedAppearance(const QSettings& settings) {
    return appearanceNamed(settings.value(appearanceKey()).toString());
}

void storeAppearance(QSettings& settings, Appearance appearance) {
    settings.setValue(appearanceKey(), QString(appearanceName(appearance)));
}

} // namespace teskal
