#pragma once

#include <QByteArray>
#include <QString>

namespace teskal {

/// UTF-8 to text, byte by byte: however the bytes are cut into pieces, the text is the same. Malformed
/// sequences become U+FFFD, one for each maximal part of a sequence (the "UTF-8 decode" of the WHATWG
/// Encoding Standard); a byte-order mark is text like any other.
class Utf8Decoder {
public:
    /// Appends what \a bytes complete to \a text.
    void decode(QByteArrayView bytes, QString& text);
    /// Ends the input: an incomplete sequence becomes one U+FFFD. Returns whether there was one.
    bool finish(QString& text);

private:
    void decodeByte(quint8 byte, QString& text);
    void begin(quint8 byte, QString& text);

    char32_t point_ = 0;
    int needed_ = 0;
    quint8 lower_ = 0x80; ///< bounds of the next continuation byte
    quint8 upper_ = 0xBF;
};

} // namespace teskal
