#include "ChatFile.h"

#include "AccountFileName.h"
#include "AtomicFile.h"
#include "JsonError.h"

#include <QFile>

namespace teskal {

ChatFile::ChatFile(const QString& folder, const QString& owner)
    : path_(folder + QLatin1Char('/') + accountFileName(owner) + QStringLiteral(".json")) {}

QList<Chat> ChatFile::read() {
    QFile file(path_);
    if (!file.open(QIODevice::ReadOnly)) {
        damaged_ = file.exists(); // unreadable, but not ours to throw away
        return {};
    }
    // Mapped rather than read: the text is needed once, and only the chats stay.
    const uchar* mapped = file.size() > 0 ? file.map(0, file.size()) : nullptr;
    try {
        return decodeChats(QByteArrayView(mapped, mapped ? file.size() : 0));
    } catch (const JsonError&) {
        damaged_ = true;
        return {};
    }
}

void ChatFile::write(const QByteArray& json, double nowMs) {
    if (damaged_)
        setDamagedFileAside(path_, nowMs);
    damaged_ = false;
    writeFileAtomically(path_, json);
}

} // namespace teskal
