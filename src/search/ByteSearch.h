#pragma once

#include <QByteArrayView>

namespace teskal {

/// Whether the UTF-8 text \a text holds \a part, byte for byte. Looks at the text in blocks for two bytes of
/// the part at once, which is as fast as the memory for texts in any script. Any thread.
bool containsBytes(QByteArrayView text, QByteArrayView part);

} // namespace teskal
