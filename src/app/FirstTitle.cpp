#include "FirstTitle.h"

namespace teskal {

QString firstTitle(const QString& text, const QList<Attachment>& files) {
    if (!text.isEmpty())
        return text;
    return files.isEmpty() ? QStringLiteral("New chat") : files.first().name;
}

} // namespace teskal
