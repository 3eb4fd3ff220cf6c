#include "ChatMime.h"

#include <QMimeData>

namespace teskal::ChatMime {

namespace {

const QString& type() {
    static const QString name = QStringLiteral("application/x-teskal-chats");
    return name;
}

} // namespace

QMimeData* of(const QStringList& chatIds) {
    auto* data = new QMimeData;
    data->setData(type(), chatIds.join(QLatin1Char('\n')).toUtf8());
    return data;
}

QStringList chatsOf(const QMimeData& data) {
    return QString::fromUtf8(data.data(type())).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace teskal::ChatMime
