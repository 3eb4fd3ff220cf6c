#include "SampleFiles.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPainter>
#include <QRandomGenerator>
#include <QtEndian>

#include <libheif/heif.h>

#include <array>
#include <stdexcept>

namespace teskal::test {

namespace {

template<typename T>
QByteArray little(T number) {
    QByteArray bytes(sizeof number, '\0');
    qToLittleEndian(number, bytes.data());
    return bytes;
}

template<typename T>
QByteArray big(T number) {
    return little(qbswap(number));
}

void check(const heif_error& error) {
    if (error.code != heif_error_Ok)
        throw std::runtime_error(error.message);
}

heif_image* heifImage(const QImage& image) {
    const QImage rgb = image.convertToFormat(QImage::Format_RGB888);
    heif_image* made = nullptr;
    check(heif_image_create(rgb.width(), rgb.height(), heif_colorspace_RGB, heif_chroma_interleaved_RGB,
                            &made));
    check(heif_image_add_plane(made, heif_channel_interleaved, rgb.width(), rgb.height(), 8));
    int stride = 0;
    uint8_t* const plane = heif_image_get_plane(made, heif_channel_interleaved, &stride);
    for (int y = 0; y < rgb.height(); ++y)
        std::copy_n(rgb.constScanLine(y), rgb.width() * 3, plane + qsizetype(y) * stride);
    return made;
}

heif_error append(heif_context*, const void* data, size_t size, void* user) {
    static_cast<QByteArray*>(user)->append(static_cast<const char*>(data), qsizetype(size));
    return {heif_error_Ok, heif_suberror_Unspecified, ""};
}

QByteArray chunk(const char* type, const QByteArray& body) {
    return QByteArray(type, 4) + little(quint32(body.size())) + body + QByteArray(body.size() % 2, '\0');
}

quint32 crc32(QByteArrayView bytes) {
    quint32 crc = 0xffffffff;
    for (const char byte : bytes) {
        crc ^= uchar(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (crc & 1 ? 0xedb88320 : 0);
    }
    return ~crc;
}

QByteArray replaced(QByteArray file, qsizetype at, const QByteArray& bytes) {
    if (at < 0)
        throw std::runtime_error("the file is not as expected");
    return file.replace(at, bytes.size(), bytes);
}

QByteArray pngBomb(const QByteArray& png) {
    const QByteArray declared = replaced(png, 16, big<quint32>(60'000) + big<quint32>(60'000));
    return replaced(declared, 29, big(crc32(QByteArrayView(declared).sliced(12, 17))));
}

QByteArray tiffBomb(QByteArray tiff) {
    // Qt writes the byte order of the machine; width and height are the entries 256 and 257.
    for (const quint16 tag : {quint16(256), quint16(257)})
        for (const quint16 type : {quint16(3), quint16(4)})
            if (const qsizetype at = tiff.indexOf(little(tag) + little(type) + little<quint32>(1)); at >= 0)
                tiff = replaced(tiff, at + 8, type == 3 ? little<quint16>(60'000) : little<quint32>(60'000));
    return tiff;
}

} // namespace

QImage noise(int width, int height, QImage::Format format) {
    QImage image(width, height, QImage::Format_ARGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < height; ++y)
        random.fillRange(reinterpret_cast<quint32*>(image.scanLine(y)), width);
    image.reinterpretAsFormat(format);
    return image;
}

QImage quarters(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    const int x = width / 2, y = height / 2;
    painter.fillRect(0, 0, x, y, Qt::red);
    painter.fillRect(x, 0, width - x, y, Qt::green);
    painter.fillRect(0, y, x, height - y, Qt::blue);
    painter.fillRect(x, y, width - x, height - y, Qt::white);
    return image;
}

QByteArray quartersOf(const QImage& image) {
    QByteArray colours;
    for (const int y : {image.height() / 4, image.height() * 3 / 4})
        for (const int x : {image.width() / 4, image.width() * 3 / 4}) {
            const QColor colour = image.pixelColor(x, y);
            const int bits = (colour.red() > 225) << 2 | (colour.green() > 225) << 1 | (colour.blue() > 225);
            const int dark = (colour.red() < 30) << 2 | (colour.green() < 30) << 1 | (colour.blue() < 30);
            colours += bits + dark != 7 ? '.' : bits == 7 ? 'W' : bits == 4 ? 'R' : bits == 2 ? 'G' : 'B';
        }
    return colours;
}

QByteArray encoded(const QImage& image, const char* format, int quality) {
    QBuffer buffer;
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    if (!writer.write(image))
        throw std::runtime_error(writer.errorString().toStdString());
    return buffer.data();
}

static QByteArray heif(heif_compression_format format, const QImage& image, const QByteArray& exif,
                       bool turned, bool asGrid) {
    heif_context* const context = heif_context_alloc();
    heif_encoder* encoder = nullptr;
    check(heif_context_get_encoder_for_format(context, format, &encoder));
    check(heif_encoder_set_lossy_quality(encoder, 90));
    heif_image* const pixels = heifImage(image);
    heif_encoding_options* const options = heif_encoding_options_alloc();
    if (turned)
        options->image_orientation = heif_orientation_rotate_90_cw;
    options->macOS_compatibility_workaround = asGrid;
    heif_image_handle* handle = nullptr;
    check(heif_context_encode_image(context, pixels, encoder, options, &handle));
    if (!exif.isEmpty())
        check(heif_context_add_exif_metadata(context, handle, exif.constData(), int(exif.size())));
    QByteArray file;
    heif_writer writer{1, append};
    check(heif_context_write(context, &writer, &file));
    heif_image_handle_release(handle);
    heif_encoding_options_free(options);
    heif_image_release(pixels);
    heif_encoder_release(encoder);
    heif_context_free(context);
    return file;
}

QByteArray heic(const QImage& image, const QByteArray& exif, bool turned) {
    return heif(heif_compression_HEVC, image, exif, turned, false);
}

QByteArray avif(const QImage& image) {
    return heif(heif_compression_AV1, image, {}, false, false);
}

QByteArray heicGrid(quint16 side) {
    QByteArray file = heif(heif_compression_HEVC, quarters(63, 63), {}, false, true);
    // The library makes a grid of one picture of such an image: what it holds after version, flags and
    // numbers of rows and columns are the sides of the whole.
    file = replaced(file, file.indexOf(QByteArray(4, '\0') + big<quint16>(63) + big<quint16>(63)) + 4,
                    big(side) + big(side));
    const QByteArray coded = "ispe" + QByteArray(4, '\0') + big<quint32>(64) + big<quint32>(64);
    const quint32 declared = side > 64 ? side : 64; // of the picture, which has to cover the whole
    return replaced(file, file.indexOf(coded) + 8, big(declared) + big(declared));
}

QByteArray exif(int orientation, bool bigEndian) {
    const auto word = [&](int number) { return bigEndian ? big(quint16(number)) : little(quint16(number)); };
    const auto number = [&](int value) { return bigEndian ? big(quint32(value)) : little(quint32(value)); };
    // Two entries: some other one (the maker's name, kept nowhere), then the orientation.
    return QByteArray(bigEndian ? "MM" : "II") + word(42) + number(8) + word(2) + word(0x010f) + word(2) +
           number(1) + number(0) + word(0x0112) + word(3) + number(1) + word(orientation) + word(0) +
           number(0);
}

QByteArray withExif(QByteArray jpeg, const QByteArray& exif) {
    const QByteArray body = QByteArray("Exif\0\0", 6) + exif;
    return jpeg.insert(2, QByteArray("\xff\xe1") + big(quint16(body.size() + 2)) + body);
}

QByteArray padded(QByteArray jpeg, qsizetype size) {
    const QByteArray comment = QByteArray("\xff\xfe") + big(quint16(0xffff)) + QByteArray(0xfffd, ' ');
    return jpeg.insert(2, comment.repeated(size / comment.size() + 1));
}

QByteArray animatedGif(qsizetype comment) {
    const QByteArray control("\x21\xf9\x04\x00\x0a\x00\x00\x00", 8);
    const QByteArray frame("\x2c\0\0\0\0\x01\0\x01\0\0\x02\x02", 12); // and one pixel
    const QByteArray remark = QByteArray("\xff") + QByteArray(255, ' ');
    return QByteArray("GIF89a\x01\0\x01\0\x80\0\0\xff\0\0\xff\xff\xff", 19) +
           (comment > 0 ? QByteArray("\x21\xfe", 2) + remark.repeated(comment / 255 + 1) + '\0'
                        : QByteArray()) +
           control + frame + QByteArray("\x44\x01\0", 3) + control + frame + QByteArray("\x4c\x01\0;", 4);
}

QByteArray animatedWebp(const QImage& image) {
    const QByteArray still = encoded(image, "webp");
    const auto number24 = [](int number) { return little(quint32(number)).first(3); };
    const QByteArray size = number24(image.width() - 1) + number24(image.height() - 1);
    const QByteArray frame =
        chunk("ANMF", QByteArray(6, '\0') + size + number24(100) + '\0' + still.sliced(12));
    const QByteArray body = "WEBP" + chunk("VP8X", QByteArray("\x02\0\0\0", 4) + size) +
                            chunk("ANIM", QByteArray(6, '\0')) + frame + frame;
    return chunk("RIFF", body);
}

QByteArray bomb(const QByteArray& format) {
    const QImage image = quarters(64, 64);
    if (format == "gif")
        return replaced(animatedGif(), 6, little<quint16>(60'000) + little<quint16>(60'000));
    if (format == "heic") {
        const QByteArray file = heic(image);
        return replaced(file, file.indexOf("ispe") + 8, big<quint32>(60'000) + big<quint32>(60'000));
    }
    const QByteArray file = encoded(image, format.constData());
    if (format == "png")
        return pngBomb(file);
    if (format == "tiff")
        return tiffBomb(file);
    if (format == "webp")
        return replaced(file, file.indexOf("\x9d\x01\x2a") + 3,
                        little<quint16>(16'383) + little<quint16>(16'383));
    return replaced(file, file.indexOf("\xff\xc0") + 5, big<quint16>(60'000) + big<quint16>(60'000));
}

} // namespace teskal::test
