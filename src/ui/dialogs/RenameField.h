#pragma once

#include <QLineEdit>

namespace teskal {

class Theme;

/// Where the title of a chat is written.
class RenameField : public QLineEdit {
    Q_OBJECT

public:
    /// \a title is the present one; its first line is what can be changed.
    RenameField(const Theme& theme, const QString& title);
};

} // namespace teskal
