#pragma once

#include "PageFile.h"

#include <QHash>

#include <optional>

namespace teskal {

/// The large files of the shown chat that exist only as data URLs inside its messages. The page loads them by
/// an identifier, so that they do not travel in every call. A file that the service has as well is served
/// from here, too: its bytes are at hand. Nothing is checked or decoded before the page asks for it, and a
/// data URL that was seen before is known by its buffer: no push reads through its text. Main thread only.
class InlineFiles {
public:
    /// In characters of the data URL; a shorter one travels as it is.
    static constexpr qsizetype longestInline = 16 * 1024;

    /// The identifier of the file in \a dataUrl; the same file has the same one. It can never be one of the
    /// service's files: IDs::isSyncable does not hold. None when the data URL is short, not base64 by its own
    /// account, or nothing that a page shows (an image, audio, video or PDF).
    std::optional<QString> identify(const QString& dataUrl);
    /// None when no file has this identifier, or its base64 is malformed.
    std::optional<PageFile> find(const QString& id) const;
    /// Forgets all files. An identifier is never given out a second time.
    void clear();

private:
    struct Seen {
        QString url; ///< keeps the buffer, which is the key, from being another text's
        QString id;
    };
    struct Entry {
        QString url;
        mutable QByteArray bytes; ///< decoded when first asked for
    };

    QString identifyContent(const QString& dataUrl);

    QHash<const QChar*, Seen> seen_;
    QHash<QString, Entry> files_;
    QMultiHash<qsizetype, QString> idsBySize_; ///< in characters of the data URL
    quint64 lastNumber_ = 0;
};

} // namespace teskal
