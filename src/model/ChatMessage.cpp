#include "ChatMessage.h"

#include "Fields.h"

namespace teskal {

TESKAL_INSTANTIATE_CODEC(ChatMessage);

} // namespace teskal
