#include "Attachment.h"

#include "Fields.h"

namespace teskal {

size_t qHash(const Attachment& attachment, size_t seed) noexcept {
    return qHashMulti(seed, attachment.name, attachment.mediaType, attachment.dataUrl.value_or(QString()),
                      attachment.fileId.value_or(QString()), attachment.dropped);
}

TESKAL_INSTANTIATE_CODEC(Attachment);

} // namespace teskal
