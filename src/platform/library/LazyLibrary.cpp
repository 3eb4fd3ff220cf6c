#include "LazyLibrary.h"

#include "Log.h"

#include <QLibrary>

namespace teskal {

QFunctionPointer lazyFunction(const char* library, int version, const char* function) {
    // By its whole name: Qt gives out any version once one is loaded. It stays loaded when this object goes.
    QLibrary loaded(QStringLiteral("lib%1.so.%2").arg(QLatin1String(library)).arg(version));
    const QFunctionPointer address = loaded.resolve(function);
    if (!address)
        logLine(QStringLiteral("a library cannot be used: ") + loaded.errorString());
    return address;
}

} // namespace teskal
