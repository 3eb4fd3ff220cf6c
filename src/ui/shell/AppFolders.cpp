#include "AppFolders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <unistd.h>

namespace teskal {

namespace {

/// Of this user, in memory as a rule; below the directory for temporary files on systems without one.
QString runtimeFolder(const QString& name) {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QFileInfo(runtime).isDir())
        return runtime + u'/' + name;
    return QDir::tempPath() + u'/' + name + u'-' + QString::number(geteuid());
}

} // namespace

AppFolders AppFolders::forUser(const QString& storageSuffix) {
    AppFolders folders;
    folders.data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                   QStringLiteral("/Teskal") + storageSuffix;
    folders.chats = folders.data + QStringLiteral("/Chats");
    folders.files = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                    QStringLiteral("/Teskal") + storageSuffix + QStringLiteral("/Files");
    folders.recordings = runtimeFolder(QStringLiteral("Teskal") + storageSuffix);
    folders.secrets = folders.data + QStringLiteral("/secrets.json");
    return folders;
}

std::optional<QString> rendererFolder() {
    const QString program = QCoreApplication::applicationDirPath();
    for (const QString& folder :
         {program + QStringLiteral("/Renderer"), program + QStringLiteral("/../share/teskal/Renderer")})
        if (QFileInfo::exists(folder + QStringLiteral("/index.html")))
            return folder;
    return std::nullopt;
}

} // namespace teskal
