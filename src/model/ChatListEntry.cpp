#include "ChatListEntry.h"

#include "Fields.h"

namespace teskal {

TESKAL_INSTANTIATE_CODEC(ChatListEntry);

} // namespace teskal
