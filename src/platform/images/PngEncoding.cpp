#include "PngEncoding.h"

#include <QColorSpace>

#include <png.h>
#include <zlib.h>

#include <algorithm>

namespace teskal {

namespace {

constexpr int stripHeight = 64; // rows that are converted at once

struct Layout {
    QImage::Format format;
    int colorType;
};

Layout layoutFor(const QImage& image) {
    if (image.hasAlphaChannel())
        return {QImage::Format_RGBA8888, PNG_COLOR_TYPE_RGB_ALPHA};
    const bool isGrey =
        image.format() == QImage::Format_Grayscale8 || image.format() == QImage::Format_Grayscale16;
    return isGrey ? Layout{QImage::Format_Grayscale8, PNG_COLOR_TYPE_GRAY}
                  : Layout{QImage::Format_RGB888, PNG_COLOR_TYPE_RGB};
}

/// One PNG file being written. The library leaves its functions by longjmp when something fails, past our
/// frames: everything that must be cleaned up is a member here, and nothing is in those frames.
class PngWriter {
public:
    PngWriter(const QImage& image, qint64 limit, const std::stop_token& stop)
        : image_(image), layout_(layoutFor(image)), limit_(limit), stop_(stop),
          png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore)),
          info_(png_ ? png_create_info_struct(png_) : nullptr) {
        const QColorSpace space = image.colorSpace();
        if (layout_.colorType != PNG_COLOR_TYPE_GRAY && space.isValid() && space != QColorSpace::SRgb)
            profile_ = space.iccProfile();
    }
    ~PngWriter() { png_destroy_write_struct(&png_, &info_); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    std::optional<QByteArray> write() {
        if (!info_ || !begin())
            return std::nullopt;
        for (int y = 0; y < image_.height(); y += stripHeight) {
            takeStrip(y);
            if (stop_.stop_requested() || strip_.isNull() || !writeStrip())
                return std::nullopt;
        }
        return end() ? std::optional(std::move(bytes_)) : std::nullopt;
    }

private:
    [[noreturn]] static void fail(png_structp png, png_const_charp) { png_longjmp(png, 1); }
    static void ignore(png_structp, png_const_charp) {}

    static void keep(png_structp png, png_bytep data, size_t size) {
        auto* const self = static_cast<PngWriter*>(png_get_io_ptr(png));
        if (self->bytes_.size() + qint64(size) > self->limit_)
            png_error(png, "over the limit");
        self->bytes_.append(reinterpret_cast<const char*>(data), qsizetype(size));
    }

    bool begin() {
        if (setjmp(png_jmpbuf(png_)))
            return false;
        png_set_write_fn(png_, this, keep, nullptr);
        png_set_IHDR(png_, info_, png_uint_32(image_.width()), png_uint_32(image_.height()), 8,
                     layout_.colorType, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        // All five filters cost twice the time and save a twentieth.
        png_set_filter(png_, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB | PNG_FILTER_UP);
        png_set_compression_level(png_, Z_BEST_SPEED);
        if (!profile_.isEmpty())
            png_set_iCCP(png_, info_, "profile", PNG_COMPRESSION_TYPE_BASE,
                         reinterpret_cast<png_const_bytep>(profile_.constData()),
                         png_uint_32(profile_.size()));
        png_write_info(png_, info_);
        return true;
    }

    void takeStrip(int y) {
        const int rows = std::min(stripHeight, image_.height() - y);
        strip_ = image_.copy(0, y, image_.width(), rows);
        strip_.convertTo(layout_.format);
    }

    bool writeStrip() {
        if (setjmp(png_jmpbuf(png_)))
            return false;
        for (row_ = 0; row_ < strip_.height(); ++row_)
            png_write_row(png_, strip_.constScanLine(row_));
        return true;
    }

    bool end() {
        if (setjmp(png_jmpbuf(png_)))
            return false;
        png_write_end(png_, nullptr);
        return true;
    }

    const QImage& image_;
    const Layout layout_;
    const qint64 limit_;
    const std::stop_token& stop_;
    QByteArray profile_; ///< ICC
    QByteArray bytes_;
    QImage strip_;
    int row_ = 0;
    png_structp png_;
    png_infop info_;
};

} // namespace

std::optional<QByteArray> encodePng(const QImage& image, qint64 limit, const std::stop_token& stop) {
    return image.isNull() ? std::nullopt : PngWriter(image, limit, stop).write();
}

} // namespace teskal
