#include "Utf8Decoder.h"

namespace teskal {

void Utf8Decoder::decode(QByteArrayView bytes, QString& text) {
    const char* at = bytes.begin();
    const char* const end = bytes.end();
    while (at != end) {
        const char* run = at;
        if (needed_ == 0)
            while (run != end && quint8(*run) < 0x80)
                ++run;
        if (run != at) {
            text.append(QLatin1String(at, run - at));
            at = run;
        } else {
            decodeByte(quint8(*at++), text);
        }
    }
}

bool Utf8Decoder::finish(QString& text) {
    if (needed_ == 0)
        return false;
    text.append(QChar::ReplacementCharacter);
    needed_ = 0;
    return true;
}

void Utf8Decoder::decodeByte(quint8 byte, QString& text) {
    if (needed_ == 0)
        return begin(byte, text);
    if (byte < lower_ || byte > upper_) {
        needed_ = 0;
        text.append(QChar::ReplacementCharacter);
        return begin(byte, text);
    }
    lower_ = 0x80;
    upper_ = 0xBF;
    point_ = (point_ << 6) | (byte & 0x3F);
    if (--needed_ == 0)
        text.append(QChar::fromUcs4(point_));
}

void Utf8Decoder::begin(quint8 byte, QString& text) {
    lower_ = 0x80;
    upper_ = 0xBF;
    if (byte < 0x80) {
        text.append(QLatin1Char(char(byte)));
    } else if (byte >= 0xC2 && byte <= 0xDF) {
        needed_ = 1;
        point_ = byte & 0x1F;
    } else if (byte >= 0xE0 && byte <= 0xEF) {
        needed_ = 2;
        point_ = byte & 0x0F;
        if (byte == 0xE0)
            lower_ = 0xA0; // shorter forms exist
        if (byte == 0xED)
            upper_ = 0x9F; // surrogates
    } else if (byte >= 0xF0 && byte <= 0xF4) {
        needed_ = 3;
        point_ = byte & 0x07;
        if (byte == 0xF0)
            lower_ = 0x90;
        if (byte == 0xF4)
            upper_ = 0x8F; // beyond U+10FFFF
    } else {
        text.append(QChar::ReplacementCharacter);
    }
}

} // namespace teskal
