#pragma once

#include <QWidget>

namespace teskal {

class InkLabel;
class Theme;

/// A row of a settings card: what it is about, perhaps with an explanation below, and the control for it.
class SettingRow : public QWidget {
    Q_OBJECT

public:
    /// Takes \a control; it may be null.
    SettingRow(const Theme& theme, const QString& title, QWidget* control, QWidget* parent = nullptr);

    /// Hidden while it is empty.
    void setExplanation(const QString& text);
    /// A quieter text behind the title, on its line.
    void setDetail(const QString& text);
    [[nodiscard]] QString detail() const;

private:
    InkLabel* detail_;
    InkLabel* explanation_;
};

} // namespace teskal
