#include "Sheet.h"

#include <QString>

namespace teskal {

QString sheetName(Sheet sheet) {
    switch (sheet) {
    case Sheet::Credits:
        return QStringLiteral("credits");
    case Sheet::Keys:
        return QStringLiteral("keys");
    case Sheet::Routes:
        break;
    }
    return QStringLiteral("routes");
}

std::optional<Sheet> sheetNamed(QStringView name) {
    for (const Sheet sheet : {Sheet::Credits, Sheet::Keys, Sheet::Routes})
        if (name == sheetName(sheet))
            return sheet;
    return std::nullopt;
}

} // namespace teskal
