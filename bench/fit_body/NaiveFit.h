#pragma once

#include "OutgoingMessage.h"

namespace teskal::bench {

/// The plain way to make a conversation fit: after each message that loses its files the whole list is
/// written out again to see how long it is now.
QByteArray naiveFit(QList<OutgoingMessage> messages);

} // namespace teskal::bench
