#pragma once

#include "Attachment.h"
#include "AttachmentError.h"

#include <QStringList>

#include <stop_token>

class QImage;
class QUrl;

namespace teskal {

/// Makes attachments, with their content inline, of what the user picks, pastes or drops. The functions touch
/// nothing but their arguments and the file. Any thread; load() and from() take up to a second for a large
/// image, so AttachmentIntake is what the main thread calls.
struct Attachments {
    Attachments() = delete;

    /// Bytes that one attachment may have at most, before base64.
    static constexpr qint64 sizeLimit = 8'388'608;
    /// Attachments that one message may have at most.
    static constexpr qsizetype mostFiles = 6;

    /// The file at \a url: as it is when it fits and its type is one that the service takes, else as an image
    /// made to fit. What the file is, its name's extension says. Throws AttachmentError; Cancelled soon after
    /// \a stop is set.
    static Attachment load(const QUrl& url, const std::stop_token& stop = {});
    /// \a image as a PNG if that fits, else as a JPEG of at most 2,560 pixels on the longer side; \a name
    /// gets the extension of what it became. Throws AttachmentError; Cancelled soon after \a stop is set.
    static Attachment from(const QImage& image, const QString& name, const std::stop_token& stop = {});

    /// The file name that users see for \a url: the last part of its path.
    static QString nameOf(const QUrl& url);
    /// MIME types that the open panel offers.
    static QStringList pickerTypes();
    /// The same as patterns of file names ("*.png").
    static QStringList pickerPatterns();
};

} // namespace teskal
