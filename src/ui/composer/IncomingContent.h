#pragma once

#include <QImage>
#include <QList>
#include <QString>
#include <QUrl>

class QMimeData;

namespace teskal {

/// What a paste or a drop brings to a message.
struct IncomingContent {
    enum class Kind { Nothing, Files, Image, Text };

    /// What \a data would be read as; decodes nothing, so it may be asked while a drag moves.
    static Kind kindOf(const QMimeData& data);
    static IncomingContent read(const QMimeData& data);
    /// Only the words of \a data, its formatting dropped; empty when it has none.
    static QString textOf(const QMimeData& data);

    Kind kind = Kind::Nothing;
    QList<QUrl> files; ///< of this machine
    QImage image;      ///< null when what was offered as an image does not decode
    QString text;
};

} // namespace teskal
