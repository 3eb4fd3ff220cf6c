#include "Module.h"

#include "Log.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLibrary>

namespace teskal {

namespace {

using Entry = void* (*)(const char* version);

/// Beside the program in the build tree, below lib/ when installed.
QString pathOf(const char* name) {
    const QString program = QCoreApplication::applicationDirPath();
    const QString file = QStringLiteral("/teskal-%1.so").arg(QLatin1String(name));
    return QFileInfo::exists(program + file) ? program + file
                                             : program + QStringLiteral("/../lib/teskal/modules") + file;
}

} // namespace

void* moduleParts(const char* name) {
    QLibrary library(pathOf(name));
    library.setLoadHints(QLibrary::PreventUnloadHint);
    const auto entry = reinterpret_cast<Entry>(library.resolve("teskalModule"));
    void* const parts = entry ? entry(TESKAL_VERSION) : nullptr;
    if (!parts)
        logLine(QStringLiteral("a part of the application cannot be loaded: ") +
                (entry ? QStringLiteral("it is of another version") : library.errorString()));
    return parts;
}

} // namespace teskal
