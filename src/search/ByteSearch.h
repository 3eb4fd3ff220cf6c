#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace teskal {

/// Finds the UTF-8 text \c part in others, byte for byte. Looks at a text in blocks for the two rarest bytes
/// of the part at once, which is as fast as the memory for texts in any script. Any thread.
class ByteSearch {
public:
    explicit ByteSearch(QByteArray part);

    bool isIn(QByteArrayView text) const;

private:
    QByteArray part_;
    qsizetype first_ = 0; ///< places of the two bytes
    qsizetype second_ = 0;
};

} // namespace teskal
