#pragma once

#include "theme/TextRole.h"

#include <QWidget>

class QPushButton;
class QVBoxLayout;

namespace teskal {

class InkLabel;
class Theme;

/// What the panes of the settings window share: a column of sections with the window's margins.
class SettingsPane : public QWidget {
    Q_OBJECT

public:
    explicit SettingsPane(const Theme& theme, QWidget* parent = nullptr);

protected:
    [[nodiscard]] const Theme& theme() const { return theme_; }
    [[nodiscard]] QVBoxLayout& column() { return *column_; }
    /// What the pane is about: its name, and \a purpose in quieter ink behind it.
    void addHeading(const QString& name, const QString& purpose);
    void addSectionTitle(const QString& title);
    /// A paragraph on the page's ground.
    InkLabel* addNote(const QString& text);
    /// A button as wide as its text needs.
    [[nodiscard]] QPushButton* makeButton(const QString& text);

private:
    const Theme& theme_;
    QVBoxLayout* column_;
};

} // namespace teskal
