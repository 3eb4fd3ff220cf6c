#include "EngineEnvironment.h"

#include "Module.h"
#include "OpenGlParts.h"

#include <QCoreApplication>
#include <QDir>
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
    // The engine wants it, and may be loaded too late to say so itself.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    // The engine's sandbox refuses to run as root; an ordinary user must keep it.
    if (geteuid() == 0)
        setDefault("QTWEBENGINE_DISABLE_SANDBOX", "1");
    // The other backend needs plugins that may be missing.
    setDefault("QT_MEDIA_BACKEND", "ffmpeg");
    if (!hasGpu()) {
        // OpenGL in software costs half of the start and two thirds of the CPU while an answer streams.
        setDefault("QT_QUICK_BACKEND", "software");
        setDefault("QT_XCB_GL_INTEGRATION", "none");
    }
}

void prepareForEngine(QWidget& window) {
    if (qgetenv("QT_QUICK_BACKEND") == "software")
        return;
    if (auto* const parts = static_cast<OpenGlParts*>(moduleParts("opengl")))
        parts->addHiddenChild(window); // the toolkit looks for one
}

} // namespace teskal
