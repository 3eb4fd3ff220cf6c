#pragma once

#include <QLineEdit>

namespace teskal {

class Theme;

/// Where the name of a folder is written.
class FolderNameField : public QLineEdit {
    Q_OBJECT

public:
    /// \a name is the present one; empty for a new folder.
    FolderNameField(const Theme& theme, const QString& name);
};

} // namespace teskal
