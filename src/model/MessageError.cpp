#include "MessageError.h"

#include "Fields.h"

namespace teskal {

TESKAL_INSTANTIATE_CODEC(MessageError);

} // namespace teskal
