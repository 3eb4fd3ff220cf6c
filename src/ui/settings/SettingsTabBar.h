#pragma once

#include "SettingsTab.h"

#include <QList>
#include <QWidget>

class QAbstractButton;

namespace teskal {

class Theme;

/// The tabs of the settings window, a symbol above a title each: one stop for Tab, arrows move the choice.
class SettingsTabBar : public QWidget {
    Q_OBJECT

public:
    explicit SettingsTabBar(const Theme& theme, QWidget* parent = nullptr);

    [[nodiscard]] SettingsTab current() const;
    void setCurrent(SettingsTab tab);

Q_SIGNALS:
    void currentChanged(teskal::SettingsTab tab);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme_;
    QList<QAbstractButton*> tabs_;
};

} // namespace teskal
