#include "ChatListView.h"

#include "ChatRole.h"
#include "ChatRowDelegate.h"
#include "theme/Theme.h"

#include <QFocusEvent>
#include <QKeyEvent>

namespace teskal {

namespace {

bool movesCurrent(int key) {
    return key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_Home || key == Qt::Key_End ||
           key == Qt::Key_PageUp || key == Qt::Key_PageDown;
}

} // namespace

ChatListView::ChatListView(const Theme& theme, QWidget* parent)
    : QListView(parent), delegate_(new ChatRowDelegate(theme, this)) {
    setObjectName(QStringLiteral("chatList"));
    setAccessibleName(tr("Chats"));
    setItemDelegate(delegate_);
    setFrameShape(QFrame::NoFrame);
    setUniformItemSizes(true);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMouseTracking(true);
    viewport()->setAttribute(Qt::WA_Hover);
    viewport()->setAutoFillBackground(false);
    // The view itself must never select: it would do so on focus, on drags and when rows go.
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    connect(&theme, &Theme::changed, viewport(), qOverload<>(&QWidget::update));
}

void ChatListView::setModel(QAbstractItemModel* model) {
    if (this->model() != nullptr)
        this->model()->disconnect(this, nullptr);
    QListView::setModel(model);
    if (model != nullptr) {
        connect(model, &QAbstractItemModel::rowsInserted, this, &ChatListView::showSelection);
        connect(model, &QAbstractItemModel::rowsRemoved, this, &ChatListView::showSelection);
        connect(model, &QAbstractItemModel::rowsMoved, this, &ChatListView::showSelection);
        connect(model, &QAbstractItemModel::layoutChanged, this, &ChatListView::showSelection);
        connect(model, &QAbstractItemModel::modelReset, this, &ChatListView::showSelection);
    }
    showSelection();
}

void ChatListView::setSelectedChat(const QString& id) {
    if (id == selected_)
        return;
    selected_ = id;
    showSelection();
    if (const QModelIndex index = indexOf(id); index.isValid()) {
        selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
        scrollTo(index);
    }
}

QModelIndex ChatListView::indexOf(const QString& id) const {
    if (model() == nullptr || id.isEmpty())
        return {};
    for (int row = 0; row < model()->rowCount(); ++row) {
        const QModelIndex index = model()->index(row, 0);
        if (index.data(ChatIdRole).toString() == id)
            return index;
    }
    return {};
}

void ChatListView::showSelection() {
    if (selectionModel() == nullptr)
        return;
    const QModelIndexList shown = selectionModel()->selectedIndexes();
    if (shown.size() == 1 && shown.constFirst().data(ChatIdRole).toString() == selected_)
        return;
    const QModelIndex index = indexOf(selected_);
    if (index.isValid())
        selectionModel()->select(index, QItemSelectionModel::ClearAndSelect);
    else if (!shown.isEmpty())
        selectionModel()->clearSelection();
}

void ChatListView::choose(const QModelIndex& index) {
    const QString id = index.data(ChatIdRole).toString();
    if (id.isEmpty() || id == selected_)
        return;
    selected_ = id;
    showSelection();
    Q_EMIT chatChosen(id);
}

void ChatListView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    delegate_->setRingVisible(false);
    QListView::mousePressEvent(event);
    choose(indexAt(event->position().toPoint()));
}

void ChatListView::mouseMoveEvent(QMouseEvent* event) {
    // A drag over the rows is not a choice.
    if (event->buttons() == Qt::NoButton)
        QListView::mouseMoveEvent(event);
}

void ChatListView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space) {
        choose(currentIndex());
    } else if (movesCurrent(event->key())) {
        delegate_->setRingVisible(true);
        QListView::keyPressEvent(event);
        choose(currentIndex());
    } else {
        event->ignore();
    }
}

void ChatListView::focusInEvent(QFocusEvent* event) {
    if (const QModelIndex open = indexOf(selected_); open.isValid() && !currentIndex().isValid())
        selectionModel()->setCurrentIndex(open, QItemSelectionModel::NoUpdate);
    delegate_->setRingVisible(event->reason() == Qt::TabFocusReason ||
                              event->reason() == Qt::BacktabFocusReason);
    QListView::focusInEvent(event);
}

} // namespace teskal
