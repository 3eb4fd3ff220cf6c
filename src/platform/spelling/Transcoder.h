#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

#include <iconv.h>

namespace teskal {

/// Turns text into an encoding of which only the name is known, and back. Qt knows no more than Unicode's own
/// and Latin 1. Any thread, one at a time.
class Transcoder {
public:
    /// \a encoding is a name of the system's; an unknown one turns nothing.
    explicit Transcoder(const QByteArray& encoding);
    ~Transcoder();
    Transcoder(const Transcoder&) = delete;
    Transcoder& operator=(const Transcoder&) = delete;

    /// Nothing when \a text has a letter that the encoding has not.
    std::optional<QByteArray> encode(const QString& text) const;
    /// Nothing when \a bytes are not of the encoding.
    std::optional<QString> decode(const QByteArray& bytes) const;

private:
    iconv_t encoder_;
    iconv_t decoder_;
};

} // namespace teskal
