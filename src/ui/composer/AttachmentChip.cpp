#include "AttachmentChip.h"

#include "ChipRemoveButton.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"
#include "theme/textDirection.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace teskal {

namespace {

constexpr int cardHeight = 52;
constexpr int overhang = 6; ///< of the button over the card's corner
constexpr int inset = 8;    ///< around the symbol's ground
constexpr int textGap = 10;
constexpr int endInset = 14;
constexpr int mostText = 168;

bool isImage(const ComposerFile& file) {
    return file.mediaType.startsWith(QLatin1String("image/"));
}

QAccessibleInterface* chipInterface(const QString& className, QObject* object) {
    if (className != QLatin1String(AttachmentChip::staticMetaObject.className()) || !object->isWidgetType())
        return nullptr;
    return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::ListItem);
}

} // namespace

const int AttachmentChip::fullHeight = cardHeight + overhang;

AttachmentChip::AttachmentChip(const Theme& theme, const ComposerFile& file, QWidget* parent)
    : InkButton(theme, parent), remove_(new ChipRemoveButton(theme, this)) {
    QAccessible::installFactory(chipInterface);
    setFocusPolicy(Qt::NoFocus); // the row says which of its chips Tab leads to
    setFont(theme.font(TextRole::Quiet));
    connect(remove_, &QAbstractButton::clicked, this, &AttachmentChip::removeRequested);
    setFile(file);
}

void AttachmentChip::setFile(const ComposerFile& file) {
    file_ = file;
    setToolTip(file_.name);
    setAccessibleName(file_.preparing ? tr("%1, preparing").arg(file_.name) : file_.name);
    remove_->setAccessibleDescription(file_.name);
    setFixedSize(sizeHint());
    update();
}

QString AttachmentChip::kind() const {
    if (file_.preparing)
        return tr("Preparing…");
    return isImage(file_) ? tr("Image") : tr("PDF");
}

QString AttachmentChip::symbol() const {
    if (isImage(file_))
        return QStringLiteral("photo");
    return file_.preparing ? QStringLiteral("doc") : QStringLiteral("doc.richtext");
}

QSize AttachmentChip::sizeHint() const {
    if (isPicture())
        return {cardHeight + overhang, fullHeight};
    const QFontMetrics metrics(font());
    const int words = std::max(metrics.horizontalAdvance(file_.name), metrics.horizontalAdvance(kind())) + 1;
    const int ground = cardHeight - 2 * inset;
    return {inset + ground + textGap + std::min(words, mostText) + endInset + overhang, fullHeight};
}

QRectF AttachmentChip::card() const {
    return QRectF(rect()).adjusted(0, overhang, -overhang, 0);
}

void AttachmentChip::paintPicture(QPainter& painter) const {
    const QRectF place = card();
    QPainterPath shape;
    shape.addRoundedRect(place, metrics::radiusCard, metrics::radiusCard);
    painter.save();
    painter.setClipPath(shape);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    // Its middle fills the card.
    const QSizeF whole = file_.thumbnail.size();
    const double side = std::min(whole.width(), whole.height());
    const QRectF middle((whole.width() - side) / 2, (whole.height() - side) / 2, side, side);
    painter.fillPath(shape, theme().ink().fill); // for pictures one can see through
    painter.drawPixmap(place, file_.thumbnail, middle);
    painter.restore();
    painter.setPen(QPen(theme().ink().tint(0.1), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(place.adjusted(0.5, 0.5, -0.5, -0.5), metrics::radiusCard, metrics::radiusCard);
}

void AttachmentChip::paintNamed(QPainter& painter) const {
    const Ink& ink = theme().ink();
    const QRectF place = card();
    painter.setPen(QPen(ink.line, 1));
    painter.setBrush(ink.card);
    painter.drawRoundedRect(place.adjusted(0.5, 0.5, -0.5, -0.5), metrics::radiusCard, metrics::radiusCard);

    const double side = place.height() - 2 * inset;
    const QRectF ground(place.left() + inset, place.top() + inset, side, side);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink.fill);
    painter.drawRoundedRect(ground, metrics::radiusSmall, metrics::radiusSmall);
    theme().icons().paint(painter, ground, symbol(), metrics::icon, file_.preparing ? ink.subtle : ink.muted);

    const QFontMetrics letters(font());
    const double left = ground.right() + textGap;
    const QRectF upper(left, place.center().y() - letters.height(), place.right() - endInset - left + 1,
                       letters.height());
    painter.setFont(font());
    painter.setPen(file_.preparing ? ink.muted : ink.fg);
    // Beside the symbol, whatever the direction of the words or of the window.
    constexpr int beside = Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter;
    painter.setLayoutDirection(textDirection(file_.name));
    painter.drawText(upper, beside,
                     letters.elidedText(file_.name, Qt::ElideMiddle, static_cast<int>(upper.width())));
    painter.setPen(ink.muted);
    painter.setLayoutDirection(textDirection(kind()));
    painter.drawText(upper.translated(0, letters.height()), beside, kind());
}

void AttachmentChip::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isPicture())
        paintPicture(painter);
    else
        paintNamed(painter);
    paintFocusRing(painter, card(), metrics::radiusCard);
}

void AttachmentChip::keyPressEvent(QKeyEvent* event) {
    const int onward = layoutDirection() == Qt::RightToLeft ? -1 : 1;
    switch (event->key()) {
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        Q_EMIT removeRequested();
        break;
    case Qt::Key_Left:
        Q_EMIT stepRequested(-onward);
        break;
    case Qt::Key_Right:
        Q_EMIT stepRequested(onward);
        break;
    default:
        InkButton::keyPressEvent(event);
    }
}

void AttachmentChip::resizeEvent(QResizeEvent* event) {
    InkButton::resizeEvent(event);
    remove_->move(width() - remove_->width(), 0);
}

} // namespace teskal
