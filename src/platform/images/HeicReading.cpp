#include "HeicReading.h"

#include "ExifOrientation.h"
#include "HeifBoxes.h"
#include "HevcConfiguration.h"
#include "LazyHeif.h"

#include <QColorSpace>
#include <QIODevice>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <memory>

namespace teskal {

namespace {

template<auto release>
struct Release {
    template<typename T>
    void operator()(T* object) const {
        release(object);
    }
};
using Context = std::unique_ptr<heif_context, Release<heif_context_free>>;
using Handle = std::unique_ptr<heif_image_handle, Release<heif_image_handle_release>>;
using Options = std::unique_ptr<heif_decoding_options, Release<heif_decoding_options_free>>;
using Nclx = std::unique_ptr<heif_color_profile_nclx, Release<heif_nclx_color_profile_free>>;

bool succeeded(const heif_error& error) {
    return error.code == heif_error_Ok;
}

QIODevice& deviceOf(void* user) {
    return *static_cast<QIODevice*>(user);
}

int64_t position(void* user) {
    return deviceOf(user).pos();
}

int readBytes(void* into, size_t size, void* user) {
    return deviceOf(user).read(static_cast<char*>(into), qint64(size)) == qint64(size) ? 0 : 1;
}

int seekTo(int64_t to, void* user) {
    return deviceOf(user).seek(to) ? 0 : 1;
}

heif_reader_grow_status hasSize(int64_t size, void* user) {
    return size <= deviceOf(user).size() ? heif_reader_grow_status_size_reached
                                         : heif_reader_grow_status_size_beyond_eof;
}

constexpr heif_reader reader{1, position, readBytes, seekTo, hasSize};

Handle mainImage(heif_context* context) {
    heif_image_handle* handle = nullptr;
    return succeeded(heif_context_get_primary_image_handle(context, &handle)) ? Handle(handle) : nullptr;
}

bool hasAtMost(qint64 mostPixels, int width, int height) {
    return width > 0 && height > 0 && qint64(width) * height <= mostPixels;
}

/// Whether the decoders would make room for more than that: the coded pictures know nothing of the size that
/// the file declares around them.
bool codesMore(const QByteArray& description, qint64 mostPixels) {
    constexpr qint64 padding = 64; // pixels a side
    const QByteArrayList configurations = hevcConfigurations(description);
    return std::any_of(configurations.begin(), configurations.end(), [&](const QByteArray& configuration) {
        const QSize size = hevcPictureSize(configuration);
        const qint64 width = size.width(), height = size.height();
        return width * height - padding * (width + height) > mostPixels;
    });
}

/// Whether another decoder than that of HEVC would have to do with the file.
bool hasOtherCoding(const QByteArray& description) {
    return description.contains("av01") || description.contains("av1C");
}

/// The longest side of any image with so many pixels that is no more than four times as wide as it is high:
/// what a file may put together of its pictures ("grid", "iovl") is larger than it declares at times.
int longestSide(qint64 mostPixels) {
    return int(2 * std::sqrt(double(mostPixels)));
}

QImage::Format formatOf(const heif_image_handle* handle, bool hasAlpha) {
    if (!hasAlpha)
        return QImage::Format_RGB888;
    return heif_image_handle_is_premultiplied_alpha(handle) ? QImage::Format_RGBA8888_Premultiplied
                                                            : QImage::Format_RGBA8888;
}

/// The pixels, shared with the library.
QImage decoded(const heif_image_handle* handle, qint64 mostPixels) {
    const bool hasAlpha = heif_image_handle_has_alpha_channel(handle);
    const Options options(heif_decoding_options_alloc());
    options->convert_hdr_to_8bit = 1;
    heif_image* image = nullptr;
    const heif_chroma chroma = hasAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB;
    if (!succeeded(heif_decode_image(handle, &image, heif_colorspace_RGB, chroma, options.get())))
        return {};
    const auto release = [](void* held) { heif_image_release(static_cast<heif_image*>(held)); };
    const int width = heif_image_get_width(image, heif_channel_interleaved);
    const int height = heif_image_get_height(image, heif_channel_interleaved);
    int stride = 0;
    const uint8_t* const pixels = heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
    if (!pixels || !hasAtMost(mostPixels, width, height)) {
        release(image);
        return {};
    }
    return QImage(pixels, width, height, stride, formatOf(handle, hasAlpha), release, image);
}

QColorSpace colorSpaceOf(const heif_image_handle* handle) {
    if (const size_t size = heif_image_handle_get_raw_color_profile_size(handle)) {
        QByteArray profile(qsizetype(size), Qt::Uninitialized);
        return succeeded(heif_image_handle_get_raw_color_profile(handle, profile.data()))
                   ? QColorSpace::fromIccProfile(profile)
                   : QColorSpace();
    }
    heif_color_profile_nclx* found = nullptr;
    if (!succeeded(heif_image_handle_get_nclx_color_profile(handle, &found)))
        return {};
    const Nclx nclx(found);
    const bool isDisplayP3 = nclx->color_primaries == heif_color_primaries_SMPTE_EG_432_1 &&
                             nclx->transfer_characteristics == heif_transfer_characteristic_IEC_61966_2_1;
    return isDisplayP3 ? QColorSpace(QColorSpace::DisplayP3) : QColorSpace();
}

int orientationOf(const heif_image_handle* handle) {
    heif_item_id id = 0;
    if (heif_image_handle_get_list_of_metadata_block_IDs(handle, "Exif", &id, 1) != 1)
        return 1;
    QByteArray exif(qsizetype(heif_image_handle_get_metadata_size(handle, id)), '\0');
    if (exif.size() < 4 || !succeeded(heif_image_handle_get_metadata(handle, id, exif.data())))
        return 1;
    // ISO 23008-12, A.2.1: the distance of the TIFF header from here comes first.
    const qsizetype tiff = 4 + qsizetype(qFromBigEndian<quint32>(exif.constData()));
    return tiff < exif.size() ? exifOrientation(QByteArrayView(exif).sliced(tiff)) : 1;
}

} // namespace

std::optional<QImage> readHeic(QIODevice& device, qint64 mostPixels) {
    const std::optional<QByteArray> description = heifDescription(device);
    if (!description || hasOtherCoding(*description) || codesMore(*description, mostPixels))
        return std::nullopt;
    if (!LazyHeif::isThere())
        return std::nullopt;
    const bool turnsItself = heifTurnsItself(device);
    const Context context(heif_context_alloc());
    heif_context_set_maximum_image_size_limit(context.get(), longestSide(mostPixels));
    if (!succeeded(heif_context_read_from_reader(context.get(), &reader, &device, nullptr)))
        return std::nullopt;
    const Handle handle = mainImage(context.get());
    if (!handle)
        return std::nullopt;
    const int width = heif_image_handle_get_width(handle.get());
    const int height = heif_image_handle_get_height(handle.get());
    if (!hasAtMost(mostPixels, width, height))
        return std::nullopt;
    QImage image = decoded(handle.get(), mostPixels);
    if (image.isNull())
        return std::nullopt;
    image.setColorSpace(colorSpaceOf(handle.get()));
    // The library has turned the image as the file says. Only files without a word of their own leave it to
    // the camera's data.
    return turnsItself ? image : upright(image, orientationOf(handle.get()));
}

} // namespace teskal
