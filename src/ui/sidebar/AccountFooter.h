#pragma once

#include "controls/InkButton.h"

class QMenu;

namespace teskal {

/// The foot of the sidebar: who is signed in, and the account menu.
class AccountFooter : public InkButton {
    Q_OBJECT

public:
    explicit AccountFooter(const Theme& theme, QWidget* parent = nullptr);

    void setName(const QString& name);

    [[nodiscard]] QSize sizeHint() const override;

Q_SIGNALS:
    void signOutRequested();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void openMenu();

    QMenu* menu_;
};

} // namespace teskal
