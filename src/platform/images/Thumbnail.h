#pragma once

#include <QImage>
#include <QString>

namespace teskal {

/// A small picture of the file in \a dataUrl that covers \a box, in pixels, or that is the image itself when
/// it is smaller. Null when the file is no image, does not decode, or says that it has more than 33 million
/// pixels. Takes up to some 100 ms; any thread.
QImage thumbnail(const QString& dataUrl, QSize box);

} // namespace teskal
