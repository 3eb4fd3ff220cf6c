#include "ChatRowDelegate.h"

#include "ChatRole.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QScrollBar>

namespace teskal {

namespace {

constexpr int rowMargin = 8;
constexpr int textInset = 10;
constexpr int dotSide = 7;

QRect pillOf(const QStyleOptionViewItem& option) {
    // The scroll bar takes the place of the margin on its side.
    const auto* view = qobject_cast<const QAbstractItemView*>(option.widget);
    const bool scrolls = view != nullptr && view->verticalScrollBar()->isVisible();
    const QRect pill = option.rect.adjusted(rowMargin, 0, scrolls ? 0 : -rowMargin, 0);
    return QStyle::visualRect(option.direction, option.rect, pill);
}

} // namespace

ChatRowDelegate::ChatRowDelegate(const Theme& theme, QObject* parent)
    : QStyledItemDelegate(parent), theme_(theme) {}

void ChatRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
    const Ink& ink = theme_.ink();
    const QRect pill = pillOf(option);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const bool hovered = option.state.testFlag(QStyle::State_MouseOver);
    if (selected || hovered) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(selected ? ink.selected() : ink.hover());
        painter->drawRoundedRect(pill, metrics::radiusSmall, metrics::radiusSmall);
    }
    if (ringVisible_ && option.state.testFlag(QStyle::State_HasFocus)) {
        painter->setBrush(Qt::NoBrush);
        painter->setPen(QPen(ink.accent, metrics::focusRing));
        painter->drawRoundedRect(QRectF(pill).adjusted(1, 1, -1, -1), metrics::radiusSmall - 1,
                                 metrics::radiusSmall - 1);
    }

    QRect text = pill.adjusted(textInset, 0, -textInset, 0);
    if (index.data(ChatAnsweringRole).toBool()) {
        const QRect dot(text.right() - dotSide + 1, text.center().y() - dotSide / 2, dotSide, dotSide);
        painter->setPen(Qt::NoPen);
        painter->setBrush(ink.accent);
        painter->drawEllipse(QRectF(QStyle::visualRect(option.direction, text, dot)));
        text = QStyle::visualRect(option.direction, text, text.adjusted(0, 0, -dotSide - textInset, 0));
    }
    const QFont font = theme_.font(TextRole::Body);
    const QString title = index.data(Qt::DisplayRole).toString().section(QLatin1Char('\n'), 0, 0);
    painter->setFont(font);
    painter->setPen(ink.fg);
    painter->drawText(text, int(QStyle::visualAlignment(option.direction, Qt::AlignLeft | Qt::AlignVCenter)),
                      QFontMetrics(font).elidedText(title, Qt::ElideRight, text.width()));
    painter->restore();
}

QSize ChatRowDelegate::sizeHint(const QStyleOptionViewItem& /*option*/, const QModelIndex& /*index*/) const {
    return {metrics::sidebarLeast, metrics::row};
}

} // namespace teskal
