#pragma once

#include <QString>

namespace teskal::IDs {

/// A new identifier for a chat, message or folder: 12 characters, each uniform over a-z and 0-9, from the
/// system's secure random source.
QString make();

/// Whether \a id may be sent to the service as a path component: 4 to 64 ASCII letters, digits, "-" and "_".
bool isSyncable(QStringView id);

} // namespace teskal::IDs
