#pragma once

#include "Attachment.h"

#include <QList>
#include <QString>

namespace teskal {

/// What a chat is called until the service has a title for it: by its first message, of this text without
/// surrounding white space and these files.
QString firstTitle(const QString& text, const QList<Attachment>& files);

} // namespace teskal
