#include "AppFolders.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStandardPaths>

namespace teskal {

AppFolders AppFolders::forUser(const QString& storageSuffix) {
    AppFolders folders;
    folders.data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                   QStringLiteral("/Teskal") + storageSuffix;
    folders.chats = folders.data + QStringLiteral("/Chats");
    folders.files = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                    QStringLiteral("/Teskal") + storageSuffix + QStringLiteral("/Files");
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
