#pragma once

#include <QByteArrayList>

class QIODevice;

namespace teskal {

/// Whether \a device begins as a file of the HEIF family does: an ISO base media file (ISO 14496-12) with a
/// brand of still images. Leaves the position as it is.
bool isHeif(QIODevice& device);

/// Whether a HEIF file says itself how its images are to be turned or mirrored ("irot", "imir"), as one whose
/// EXIF data are not to be followed does. Leaves the position as it is. False when the file is damaged.
bool heifTurnsItself(QIODevice& device);

/// How the decoders of HEVC images in a HEIF file are to be set up ("hvcC"), one entry each. Leaves the
/// position as it is. Those after a damaged place are missing.
QByteArrayList hevcConfigurations(QIODevice& device);

} // namespace teskal
