#pragma once

#include <QImage>
#include <QSize>

#include <optional>

class QIODevice;

namespace teskal {

/// The image in \a device, which can seek, by what it holds; upright, the first one when there are several.
/// None when it is no pixel image that can be read here (drawings are none: they may point to other files)
/// or says that it has more than \a mostPixels, which is known before anything is decoded. Any thread.
std::optional<QImage> readImage(QIODevice& device, qint64 mostPixels);

/// The same, scaled so that it covers \a box, which for some formats costs far less than reading all of it.
/// An image that is smaller in one direction stays as it is.
std::optional<QImage> readImageCovering(QIODevice& device, qint64 mostPixels, QSize box);

} // namespace teskal
