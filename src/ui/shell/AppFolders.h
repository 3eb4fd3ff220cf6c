#pragma once

#include <QString>

#include <optional>

namespace teskal {

/// Where the application keeps what it keeps.
struct AppFolders {
    QString data;       ///< everything of the user's; private to them
    QString chats;      ///< one file per account
    QString files;      ///< copies of what the service stores; the system may empty it
    QString secrets;    ///< the file used when the desktop has no keyring
    QString recordings; ///< what is being said, while it is

    /// Below the user's data, cache and runtime directories; \a storageSuffix as in Config.
    static AppFolders forUser(const QString& storageSuffix);
};

/// The transcript page's folder: beside the program in the build tree, below share/ when installed; none when
/// it is missing.
std::optional<QString> rendererFolder();

} // namespace teskal
