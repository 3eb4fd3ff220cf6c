#include "Media.h"

#include "Fields.h"

namespace teskal {

std::optional<QString> Media::jobToken() const {
    if (job)
        return job;
    return operation ? operation->member(QStringLiteral("job")).text() : std::nullopt;
}

TESKAL_INSTANTIATE_CODEC(Media);

} // namespace teskal
