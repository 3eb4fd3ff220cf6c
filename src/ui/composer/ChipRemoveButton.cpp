#include "ChipRemoveButton.h"

#include "theme/Theme.h"

#include <QPainter>

namespace teskal {

namespace {

constexpr int side = 20;    ///< of what can be hit
constexpr double disc = 17; ///< of what is seen
constexpr int crossSize = 11;

} // namespace

ChipRemoveButton::ChipRemoveButton(const Theme& theme, QWidget* parent) : InkButton(theme, parent) {
    setObjectName(QStringLiteral("removeChipButton"));
    setFocusPolicy(Qt::NoFocus);
    setToolTip(tr("Remove"));
    setAccessibleName(tr("Remove"));
    setFixedSize(side, side);
}

void ChipRemoveButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Ink& ink = theme().ink();
    QRectF place(0, 0, disc, disc);
    place.moveCenter(QRectF(rect()).center());
    // An edge in the card's colour parts the disc from a dark picture.
    painter.setPen(QPen(ink.card, 1.5));
    painter.setBrush(flattened(ink.tint(isDown() ? 0.6 : 0.78 + 0.22 * hoverAmount()), ink.card));
    painter.drawEllipse(place);
    theme().icons().paint(painter, rect(), QStringLiteral("xmark"), crossSize, ink.page);
}

} // namespace teskal
