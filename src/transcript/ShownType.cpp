#include "ShownType.h"

#include <QRegularExpression>

namespace teskal {

bool isShownType(const QString& mediaType) {
    static const QRegularExpression shown(
        QStringLiteral(R"(\A(?:(?:image|audio|video)/[a-z0-9.+-]+|application/pdf)\z)"));
    return shown.match(mediaType).hasMatch();
}

} // namespace teskal
