#include "Log.h"

#include <QLoggingCategory>

namespace teskal {

namespace {

Q_LOGGING_CATEGORY(category, "teskal")

} // namespace

void logLine(QString text) {
    text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    qCWarning(category).noquote() << QStringLiteral("[Teskal] ") + text;
}

} // namespace teskal
