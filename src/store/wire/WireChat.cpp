#include "WireChat.h"

#include "WireFields.h"

namespace teskal {

TESKAL_INSTANTIATE_CODEC(WireChat);

} // namespace teskal
