#include "Log.h"

#include <QLoggingCategory>

namespace teskal {

namespace {

Q_LOGGING_CATEGORY(category, "teskal")

} // namespace

void logLine(QString text) {
    // Also the line ends of Unicode, which a reader of the log may take for some.
    for (const char16_t lineEnd : {u'\n', u'\r', u'\u2028', u'\u2029'})
        text.replace(QChar(lineEnd), QLatin1Char(' '));
    qCWarning(category).noquote() << QStringLiteral("[Teskal] ") + text;
}

} // namespace teskal
