#include "RenameField.h"

#include "theme/Theme.h"

namespace teskal {

RenameField::RenameField(const Theme& theme, const QString& title)
    : QLineEdit(title.section(QLatin1Char('\n'), 0, 0).trimmed()) {
    setFont(theme.font(TextRole::Body));
    setPlaceholderText(tr("Title"));
    setAccessibleName(tr("Title"));
    selectAll();
}

} // namespace teskal
