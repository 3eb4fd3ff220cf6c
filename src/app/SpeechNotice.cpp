#include "SpeechNotice.h"

#include "APIError.h"

#include <QCoreApplication>

namespace teskal {

QString speechNotice(const std::exception& failure, const QString& otherwise) {
    const auto* refusal = dynamic_cast<const APIError*>(&failure);
    if (refusal && refusal->code() == QLatin1String("INSUFFICIENT_CREDITS"))
        return QCoreApplication::translate("SpeechNotice", "You’re out of credits.");
    return otherwise;
}

} // namespace teskal
