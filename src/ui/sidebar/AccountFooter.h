#pragma once

#include "controls/InkButton.h"

#include <QImage>

class QMenu;

namespace teskal {

/// The foot of the sidebar: who is signed in, what credit is left, and the account menu.
class AccountFooter : public InkButton {
    Q_OBJECT

public:
    explicit AccountFooter(const Theme& theme, QWidget* parent = nullptr);

    void setName(const QString& name);
    /// The line under the name; empty for none.
    void setBalance(const QString& balance);
    /// The person's picture; a null one for the initials.
    void setPicture(const QImage& picture);

    [[nodiscard]] QSize sizeHint() const override;

Q_SIGNALS:
    void privacyRequested();
    void routesRequested();
    void keysRequested();
    void creditsRequested();
    void signOutRequested();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void fillMenu();
    void openMenu();
    void paintWords(QPainter& painter, const QRect& place) const;

    QMenu* menu_;
    QString balance_;
    QImage picture_;
};

} // namespace teskal
