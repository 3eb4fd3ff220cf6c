#include "SchemeAnswer.h"

#include <algorithm>

namespace teskal {

QByteArray SchemeResponse::header(QByteArrayView name) const {
    const auto found = std::find_if(headers.begin(), headers.end(),
                                    [name](const SchemeHeader& header) { return header.name == name; });
    return found == headers.end() ? QByteArray() : found->value;
}

} // namespace teskal
