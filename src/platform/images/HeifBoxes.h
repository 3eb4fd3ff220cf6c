#pragma once

#include <QByteArrayList>

#include <optional>

class QIODevice;

namespace teskal {

/// Whether \a device begins as a file of the HEIF family does: an ISO base media file (ISO 14496-12) with a
/// brand of still images whose pictures are coded as HEVC, or may be. Leaves the position as it is.
bool isHeif(QIODevice& device);

/// Whether a HEIF file says itself how its images are to be turned or mirrored ("irot", "imir"), as one whose
/// EXIF data are not to be followed does. Leaves the position as it is. False when the file is damaged.
bool heifTurnsItself(QIODevice& device);

/// All that a HEIF file says of its images (the content of its "meta" box). Leaves the position as it is.
/// None when it says nothing, says it twice, or goes on for longer than any camera's file.
std::optional<QByteArray> heifDescription(QIODevice& device);

/// How the decoders of HEVC images are to be set up ("hvcC") according to a file's \a description, one entry
/// each, which goes on behind its end. They are found wherever a reader might find them, however the boxes
/// around them are laid out.
QByteArrayList hevcConfigurations(const QByteArray& description);

} // namespace teskal
