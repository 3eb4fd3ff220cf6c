#pragma once

#include <QStringList>

class QMimeData;

namespace teskal {

/// What a drag of chats carries: their identifiers, in a type of our own, so that no other application and no
/// other view takes them for anything.
namespace ChatMime {

/// New data, owned by the caller.
QMimeData* of(const QStringList& chatIds);
/// The chats in \a data; empty when there are none.
QStringList chatsOf(const QMimeData& data);

} // namespace ChatMime
} // namespace teskal
