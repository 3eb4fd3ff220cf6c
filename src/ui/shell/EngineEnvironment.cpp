#include "EngineEnvironment.h"

#include "CallbackSchemeHandler.h"
#include "TeskalScheme.h"

#include <QDir>
#include <QQuickWindow>
#include <QtGlobal>

#include <unistd.h>

namespace teskal {

namespace {

void setDefault(const char* variable, const QByteArray& value) {
    if (!qEnvironmentVariableIsSet(variable))
        qputenv(variable, value);
}

bool hasGpu() {
    return !QDir(QStringLiteral("/dev/dri")).entryList({QStringLiteral("renderD*")}, QDir::System).isEmpty();
}

} // namespace

void prepareEngineEnvironment() {
    registerTeskalScheme();
    registerCallbackScheme();
    // The engine's sandbox refuses to run as root; an ordinary user must keep it.
    if (geteuid() == 0)
        setDefault("QTWEBENGINE_DISABLE_SANDBOX", "1");
    // The other backend needs plugins that may be missing.
    setDefault("QT_MEDIA_BACKEND", "ffmpeg");
    if (!hasGpu()) {
        // OpenGL in software costs half of the start and two thirds of the CPU while an answer streams.
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        setDefault("QT_XCB_GL_INTEGRATION", "none");
    }
}

} // namespace teskal
