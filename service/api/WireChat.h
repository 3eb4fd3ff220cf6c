#pragma once

#include "storage/ChatTable.h"

#include <string>
#include <string_view>
#include <variant>

namespace teskal::service {

/// A time as clients send it: milliseconds since 1970 that a date can express.
bool isTime(double ms);

/// Reads the body {"chat": …} of an upload, or says in one sentence what is wrong with it. Only what a chat
/// needs is looked at; the chat itself is kept as it was sent.
std::variant<StoredChat, std::string> readChatUpload(std::string_view body);

} // namespace teskal::service
