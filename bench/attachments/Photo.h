#pragma once

#include <QImage>

namespace teskal::bench {

/// What a camera of 12 megapixels might take: soft shapes with the grain of a sensor, so that it packs as
/// badly as photos do.
QImage photo();

} // namespace teskal::bench
