#include "ExifOrientation.h"

#include <QTransform>
#include <QtEndian>

namespace teskal {

namespace {

constexpr quint16 orientationTag = 0x0112;
constexpr quint16 shortType = 3;
constexpr qsizetype entrySize = 12;

/// Numbers in a TIFF file, 0 beyond its end.
class TiffNumbers {
public:
    explicit TiffNumbers(QByteArrayView bytes) : bytes_(bytes), bigEndian_(bytes.startsWith("MM")) {}

    template<typename T>
    T at(qsizetype offset) const {
        if (offset < 0 || offset > bytes_.size() - qsizetype(sizeof(T)))
            return 0;
        const char* const from = bytes_.data() + offset;
        return bigEndian_ ? qFromBigEndian<T>(from) : qFromLittleEndian<T>(from);
    }

private:
    QByteArrayView bytes_;
    bool bigEndian_;
};

} // namespace

int exifOrientation(QByteArrayView tiff) {
    const TiffNumbers numbers(tiff);
    if (numbers.at<quint16>(2) != 42)
        return 1;
    const qsizetype directory = numbers.at<quint32>(4);
    const int entries = numbers.at<quint16>(directory);
    for (int i = 0; i < entries; ++i) {
        const qsizetype entry = directory + 2 + i * entrySize;
        if (numbers.at<quint16>(entry) != orientationTag || numbers.at<quint16>(entry + 2) != shortType)
            continue;
        const int value = numbers.at<quint16>(entry + 8);
        return value >= 1 && value <= 8 ? value : 1;
    }
    return 1;
}

QImage upright(const QImage& image, int orientation) {
    const QImage turned =
        orientation >= 5 ? image.transformed(QTransform().rotate(orientation == 8 ? 270 : 90)) : image;
    const bool mirrored = orientation == 2 || orientation == 3 || orientation == 5;
    const bool flipped = orientation == 3 || orientation == 4 || orientation == 7;
    return mirrored || flipped ? turned.mirrored(mirrored, flipped) : turned;
}

} // namespace teskal
