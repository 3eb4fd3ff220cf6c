#include "BareCodecs.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QImageWriter>

#include <libheif/heif.h>
#include <png.h>

#include <stdexcept>

namespace teskal::bench {

namespace {

constexpr qint64 limit = 8'388'608; // bytes
constexpr int longest = 2'560;      // pixels

struct Packed {
    QByteArray bytes;
};

void keep(png_structp png, png_bytep data, size_t size) {
    auto* const packed = static_cast<Packed*>(png_get_io_ptr(png));
    packed->bytes.append(reinterpret_cast<const char*>(data), qsizetype(size));
    if (packed->bytes.size() > limit)
        png_longjmp(png, 1);
}

/// With the filters and the level that our own encoder uses.
void packPng(const QImage& rgb, Packed& packed) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) == 0) {
        png_set_write_fn(png, &packed, keep, nullptr);
        png_set_IHDR(png, info, png_uint_32(rgb.width()), png_uint_32(rgb.height()), 8, PNG_COLOR_TYPE_RGB,
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB | PNG_FILTER_UP);
        png_set_compression_level(png, 1);
        png_write_info(png, info);
        if (rgb.format() == QImage::Format_RGB32) {
            png_set_bgr(png);
            png_set_filler(png, 0, PNG_FILLER_AFTER);
        }
        for (int y = 0; y < rgb.height(); ++y)
            png_write_row(png, rgb.constScanLine(y));
        png_write_end(png, nullptr);
    }
    png_destroy_write_struct(&png, &info);
}

} // namespace

QImage decodeWithQt(const QString& path) {
    QImageReader reader(path);
    reader.setAutoTransform(true);
    return reader.read();
}

QImage decodeWithLibheif(const QString& path) {
    heif_context* const context = heif_context_alloc();
    heif_image_handle* handle = nullptr;
    heif_image* image = nullptr;
    heif_context_read_from_file(context, QFile::encodeName(path).constData(), nullptr);
    heif_context_get_primary_image_handle(context, &handle);
    heif_decode_image(handle, &image, heif_colorspace_RGB, heif_chroma_interleaved_RGB, nullptr);
    if (!image)
        throw std::runtime_error("libheif cannot decode " + path.toStdString());
    int stride = 0;
    const uint8_t* const pixels = heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
    const QImage decoded(
        pixels, heif_image_get_width(image, heif_channel_interleaved),
        heif_image_get_height(image, heif_channel_interleaved), stride, QImage::Format_RGB888,
        [](void* held) { heif_image_release(static_cast<heif_image*>(held)); }, image);
    heif_image_handle_release(handle);
    heif_context_free(context);
    return decoded;
}

qsizetype packBare(const QImage& image) {
    Packed packed;
    packPng(image, packed);
    const QImage small = image.convertToFormat(QImage::Format_RGB32)
                             .scaled(longest, longest, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QBuffer buffer;
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(85);
    writer.write(small);
    return buffer.size();
}

} // namespace teskal::bench
