// Drags of chats: out of the rows, and onto folders and back.

#include "ChatMime.h"
#include "SidebarRowDelegate.h"
#include "SidebarRows.h"
#include "SidebarTree.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QDrag>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QPainter>

#include <algorithm>

namespace teskal {

namespace {

constexpr int pictureInset = 12;
constexpr int pictureWidest = 240;

} // namespace

void SidebarTree::startDragging() {
    const QStringList ids = chatsFor(pressed_);
    pressed_ = QPersistentModelIndex();
    chooseOnRelease_ = false;
    auto* drag = new QDrag(this);
    drag->setMimeData(ChatMime::of(ids));
    const QPixmap picture = dragPicture(ids);
    drag->setPixmap(picture);
    drag->setHotSpot(QPoint(-pictureInset, -pictureInset));
    drag->exec(Qt::MoveAction);
    setDropTarget(std::nullopt);
}

QPixmap SidebarTree::dragPicture(const QStringList& chatIds) const {
    const QFont font = theme_.font(TextRole::Body);
    const QFontMetrics widths(font);
    QString text = rows_->chatIndex(chatIds.constFirst()).data().toString();
    if (chatIds.size() > 1)
        text = tr("%n chats", nullptr, int(chatIds.size()));
    text = widths.elidedText(text, Qt::ElideRight, pictureWidest);
    const QRect place(0, 0, widths.horizontalAdvance(text) + 2 * pictureInset, metrics::row);
    const double ratio = devicePixelRatioF();
    QPixmap picture(place.size() * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(theme_.ink().line);
    painter.setBrush(theme_.ink().card);
    painter.drawRoundedRect(QRectF(place).adjusted(0.5, 0.5, -0.5, -0.5), metrics::radiusSmall,
                            metrics::radiusSmall);
    painter.setFont(font);
    painter.setPen(theme_.ink().fg);
    painter.drawText(place, Qt::AlignCenter, text);
    return picture;
}

std::optional<SidebarTree::DropTarget> SidebarTree::targetAt(const QPoint& place,
                                                             const QStringList& chatIds) const {
    if (rows_ == nullptr || chatIds.isEmpty())
        return std::nullopt;
    const QModelIndex index = indexAt(place);
    const QModelIndex section = index.parent().isValid() ? index.parent() : index;
    const DropTarget target{isFolder(section) ? std::optional(sidebarId(section)) : std::nullopt};
    // A drop that changes nothing is none.
    const auto isThere = [&](const QString& id) {
        return rows_->folderOf(id) == target.folderId.value_or(QString());
    };
    if (std::all_of(chatIds.begin(), chatIds.end(), isThere))
        return std::nullopt;
    return target;
}

void SidebarTree::setDropTarget(const std::optional<DropTarget>& target) {
    if (target == dropTarget_)
        return;
    dropTarget_ = target;
    viewport()->update();
}

void SidebarTree::dragEnterEvent(QDragEnterEvent* event) {
    if (ChatMime::chatsOf(*event->mimeData()).isEmpty())
        return event->ignore();
    event->setDropAction(Qt::MoveAction);
    event->accept(); // where on the rows is told by the moves
}

void SidebarTree::dragMoveEvent(QDragMoveEvent* event) {
    const QPoint place = event->position().toPoint();
    const QStringList ids = ChatMime::chatsOf(*event->mimeData());
    setDropTarget(targetAt(place, ids));
    event->setDropAction(Qt::MoveAction);
    event->setAccepted(dropTarget_.has_value());
    const int edge = autoScrollMargin();
    if (!ids.isEmpty() && (place.y() < edge || place.y() > viewport()->height() - edge))
        startAutoScroll();
}

void SidebarTree::dragLeaveEvent(QDragLeaveEvent* /*event*/) {
    stopAutoScroll();
    setDropTarget(std::nullopt);
}

void SidebarTree::dropEvent(QDropEvent* event) {
    stopAutoScroll();
    const QStringList ids = ChatMime::chatsOf(*event->mimeData());
    const std::optional<DropTarget> target = targetAt(event->position().toPoint(), ids);
    setDropTarget(std::nullopt);
    if (!target)
        return event->ignore();
    event->setDropAction(Qt::MoveAction);
    event->accept();
    Q_EMIT filingRequested(ids, target->folderId);
}

QRect SidebarTree::dropRect() const {
    QRect rect;
    for (int row = 0; row < rows_->rowCount(); ++row) {
        const QModelIndex section = rows_->index(row, 0);
        const bool isTarget =
            isFolder(section) ? dropTarget_->folderId == sidebarId(section) : !dropTarget_->folderId;
        if (!isTarget)
            continue;
        rect |= visualRect(section);
        if (const int chats = rows_->rowCount(section); chats > 0 && isExpanded(section))
            rect |= visualRect(rows_->index(chats - 1, 0, section));
    }
    if (!dropTarget_->folderId) { // all that is below the folders
        if (rect.isNull() && rows_->rowCount() > 0) {
            const QModelIndex last = rows_->index(rows_->rowCount() - 1, 0);
            const int chats = rows_->rowCount(last);
            rect = visualRect(isExpanded(last) && chats > 0 ? rows_->index(chats - 1, 0, last) : last);
            rect.setTop(rect.bottom() + 1);
        }
        rect.setBottom(std::max(rect.bottom(), viewport()->height() - 1));
    }
    QStyleOptionViewItem row;
    row.initFrom(viewport());
    row.widget = this;
    row.rect = QRect(0, rect.top(), viewport()->width(), rect.height());
    return SidebarRowDelegate::pill(row);
}

void SidebarTree::paintEvent(QPaintEvent* event) {
    QTreeView::paintEvent(event);
    if (!dropTarget_)
        return;
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    QColor ground = theme_.ink().accent;
    ground.setAlphaF(0.08F);
    painter.setBrush(ground);
    painter.setPen(QPen(theme_.ink().accent, metrics::focusRing));
    painter.drawRoundedRect(QRectF(dropRect()).adjusted(1, 1, -1, -1), metrics::radiusSmall,
                            metrics::radiusSmall);
}

} // namespace teskal
