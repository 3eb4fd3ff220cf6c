#include "Media.h"

#include "Fields.h"

namespace teskal {

std::optional<QString> Media::jobToken() const {
    if (job)
        return job;
    if (!operation)
        return std::nullopt;
    const JSONValue token = operation->member(QStringLiteral("job"));
    return token.string() ? std::optional(*token.string()) : std::nullopt;
}

TESKAL_INSTANTIATE_CODEC(Media);

} // namespace teskal
