#pragma once

#include <QByteArrayView>
#include <QSize>

namespace teskal {

/// The size of the pictures, in pixels and with the coder's padding, that a decoder of this configuration
/// ("hvcC", ISO 14496-15, 8.3.3) makes room for, whatever the file around it says; the largest one when
/// there are several, empty when there is none to be found.
QSize hevcPictureSize(QByteArrayView configuration);

} // namespace teskal
