#pragma once

#include "OutgoingMessage.h"

#include <QByteArray>
#include <QList>

#include <optional>

namespace teskal {

/// Messages older than the last six lose their files, except the last image of the conversation.
inline constexpr qsizetype messagesWithFiles = 6;
/// Above this many bytes of JSON, files are left out from the oldest message on.
inline constexpr qsizetype bodyLimit = 4'000'000;

/// \a message, which stands at \a position, with a text marker in place of each file. Left unchanged when it
/// has no files or stands at \a lastImage; both positions may be none, and two that are none are equal: in a
/// conversation without images the size pass takes nothing away.
OutgoingMessage strip(const OutgoingMessage& message, std::optional<qsizetype> position,
                      std::optional<qsizetype> lastImage);

/// The JSON array of \a messages, made small enough to send. The last message is never touched, so the result
/// may still be larger than the limit. Each message is encoded once, and a second time only when it loses its
/// files after that; one whose length alone shows that it does not fit is not encoded before it loses them.
QByteArray fitBody(QList<OutgoingMessage> messages);

} // namespace teskal
