#include "PrivateBadge.h"

#include "theme/Theme.h"

#include <QPainter>

namespace teskal {

namespace {

constexpr int insetX = 10;
constexpr int insetY = 2;

} // namespace

PrivateBadge::PrivateBadge(const Theme& theme, QWidget* parent)
    : InkLabel(theme, TextRole::Quiet, &Ink::muted, parent), theme_(theme) {
    setObjectName(QStringLiteral("privateBadge"));
    setContentsMargins(insetX, insetY, insetX, insetY);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setText(tr("Private chat"));
    const QString help = tr("Private chat. It isn’t saved, and disappears when you leave it.");
    setToolTip(help);
    setAccessibleDescription(help);
}

void PrivateBadge::paintEvent(QPaintEvent* event) {
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(theme_.ink().card);
        painter.setPen(QPen(theme_.ink().line, 1));
        const QRectF pill = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        painter.drawRoundedRect(pill, pill.height() / 2, pill.height() / 2);
    }
    InkLabel::paintEvent(event);
}

} // namespace teskal
