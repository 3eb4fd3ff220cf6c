#include "DropTarget.h"

#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QPainter>

namespace teskal {

namespace {

constexpr int frameInset = 12;
constexpr int frameRadius = 16;
constexpr double frameWidth = 1.5;
constexpr double cover = 0.96; ///< how much of what lies below is hidden
constexpr int symbolSize = 28;
constexpr int gap = 14;
constexpr int lineGap = 4;

} // namespace

DropTarget::DropTarget(const Theme& theme, QWidget* parent) : QWidget(parent), theme_(theme) {
    setObjectName(QStringLiteral("dropTarget"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibleName(tr("Drop to attach"));
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
    hide();
}

void DropTarget::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Ink& ink = theme_.ink();
    QColor ground = ink.page;
    ground.setAlphaF(static_cast<float>(cover));
    painter.fillRect(rect(), ground);

    const QRectF frame = QRectF(rect()).adjusted(frameInset, frameInset, -frameInset, -frameInset);
    QPen edge(ink.accent, frameWidth);
    edge.setDashPattern({4, 4});
    painter.setPen(edge);
    painter.setBrush(ink.hover());
    painter.drawRoundedRect(frame, frameRadius, frameRadius);

    const QFont titleFont = theme_.font(TextRole::Title);
    const QFont noteFont = theme_.font(TextRole::Quiet);
    const int titleHeight = QFontMetrics(titleFont).height();
    const int noteHeight = QFontMetrics(noteFont).height();
    double top = frame.center().y() - (symbolSize + gap + titleHeight + lineGap + noteHeight) / 2.0;
    const auto line = [&](double height) {
        const QRectF place(frame.left(), top, frame.width(), height);
        top += height;
        return place;
    };
    theme_.icons().paint(painter, line(symbolSize), QStringLiteral("tray.and.arrow.down"), symbolSize,
                         ink.muted);
    top += gap;
    painter.setFont(titleFont);
    painter.setPen(ink.fg);
    painter.drawText(line(titleHeight), Qt::AlignCenter, accessibleName());
    top += lineGap;
    painter.setFont(noteFont);
    painter.setPen(ink.muted);
    painter.drawText(line(noteHeight), Qt::AlignCenter, tr("Images or PDFs, up to 8 MB each"));
}

} // namespace teskal
