#include "PagePort.h"

#include "MessageDisplay.h"

namespace teskal {

void PagePort::upsert(const ChatMessage& message) {
    call("upsert", {displayJson(message, inlineFiles_)});
}

} // namespace teskal
