#pragma once

#include "PageFile.h"

#include <QHash>

#include <optional>

namespace teskal {

/// The large files of the shown chat that exist only as data URLs inside its messages. The page loads them by
/// an identifier, so that they do not travel in every call. Nothing is decoded before the page asks for it,
/// and a data URL that was seen before is known by its buffer: no push looks at its text again. Main thread
/// only.
class InlineFiles {
public:
    /// In characters of the data URL; a shorter one travels as it is.
    static constexpr qsizetype longestInline = 16 * 1024;

    /// The identifier of the file in \a dataUrl ("inline-…"; the same file has the same one). None when it is
    /// short, malformed, or nothing that a page shows (an image, audio, video or PDF).
    std::optional<QString> identify(const QString& dataUrl);
    /// Whether \a id is of the form that is given out here: no file of the service is meant by it, also when
    /// the one that was meant is forgotten.
    static bool isOwn(QStringView id);
    /// None when no file has this identifier.
    std::optional<PageFile> find(const QString& id) const;
    /// Forgets all files. An identifier is never given out a second time.
    void clear();

private:
    struct Seen {
        QString url; ///< keeps the buffer, which is the key, from being another text's
        QString id;  ///< empty for what is not served
    };
    struct Entry {
        QString url;
        mutable QByteArray bytes; ///< decoded when first asked for
    };

    QString identifyContent(const QString& dataUrl);

    QHash<const QChar*, Seen> seen_;
    QHash<QString, Entry> files_;
    QMultiHash<size_t, QString> idsByHash_;
    quint64 lastNumber_ = 0;
};

} // namespace teskal
