#include "FolderNameField.h"

#include "theme/Theme.h"

namespace teskal {

FolderNameField::FolderNameField(const Theme& theme, const QString& name) : QLineEdit(name) {
    setFont(theme.font(TextRole::Body));
    setPlaceholderText(tr("Folder name"));
    setAccessibleName(tr("Folder name"));
    selectAll();
}

} // namespace teskal
