#include "SidebarTree.h"

#include "SidebarRowDelegate.h"
#include "SidebarRows.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QFocusEvent>
#include <QHeaderView>
#include <QKeyEvent>

#include <algorithm>

namespace teskal {

namespace {

bool movesCurrent(int key) {
    return key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_Home || key == Qt::Key_End ||
           key == Qt::Key_PageUp || key == Qt::Key_PageDown;
}

bool isTyping(const QKeyEvent& event) {
    constexpr Qt::KeyboardModifiers forLetters =
        Qt::ShiftModifier | Qt::KeypadModifier | Qt::GroupSwitchModifier;
    return (event.modifiers() & ~forLetters) == Qt::NoModifier && !event.text().isEmpty() &&
           event.text().front().isPrint();
}

} // namespace

SidebarTree::SidebarTree(const Theme& theme, QWidget* parent)
    : QTreeView(parent), theme_(theme), delegate_(new SidebarRowDelegate(theme, this)) {
    setObjectName(QStringLiteral("chatList"));
    setAccessibleName(tr("Chats"));
    setFocusPolicy(Qt::ClickFocus);
    setItemDelegate(delegate_);
    setFrameShape(QFrame::NoFrame);
    setHeaderHidden(true);
    setRootIsDecorated(false);
    setIndentation(0);
    setUniformRowHeights(true);
    setItemsExpandable(false); // by Qt's ways: ours tell of it
    setExpandsOnDoubleClick(false);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMouseTracking(true);
    viewport()->setAttribute(Qt::WA_Hover);
    viewport()->setAutoFillBackground(false);
    // The view itself must never select: it would do so on focus, on drags and when rows go.
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setAcceptDrops(true);
    viewport()->setAcceptDrops(true);
    setAutoScroll(true);
    connect(&theme, &Theme::changed, viewport(), qOverload<>(&QWidget::update));
    connect(delegate_, &SidebarRowDelegate::renamed, this, &SidebarTree::tellRename);
}

void SidebarTree::setRows(SidebarRows* rows) {
    if (rows_ != nullptr)
        rows_->disconnect(this, nullptr);
    rows_ = rows;
    setModel(rows);
    if (rows != nullptr)
        follow(rows);
}

void SidebarTree::follow(SidebarRows* rows) {
    connect(rows, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex& parent, int first, int last) {
                showExpansion(parent, first, last);
                showMarks();
            });
    for (const auto changed : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(rows, changed, this, &SidebarTree::takeTab);
    connect(rows, &QAbstractItemModel::modelReset, this, &SidebarTree::takeTab);
    connect(rows, &QAbstractItemModel::rowsRemoved, this, &SidebarTree::showMarks);
    connect(rows, &QAbstractItemModel::rowsMoved, this, &SidebarTree::showMarks);
    connect(rows, &QAbstractItemModel::modelReset, this, [this] {
        showExpansion({}, 0, rows_->rowCount() - 1);
        showMarks();
    });
    connect(rows, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex& first, const QModelIndex& last, const QList<int>& roles) {
                if (roles.contains(SidebarOpenRole))
                    showExpansion(first.parent(), first.row(), last.row());
            });
    showExpansion({}, 0, rows->rowCount() - 1);
    showMarks();
    takeTab();
}

void SidebarTree::takeTab() {
    setFocusPolicy(rows_->rowCount() > 0 ? Qt::StrongFocus : Qt::ClickFocus);
}

void SidebarTree::showExpansion(const QModelIndex& parent, int first, int last) {
    if (parent.isValid())
        return;
    for (int row = first; row <= last; ++row) {
        const QModelIndex index = rows_->index(row, 0);
        setExpanded(index, index.data(SidebarOpenRole).toBool());
    }
}

// --- What is open and what is marked

void SidebarTree::setSelectedChat(const QString& id) {
    if (id == open_)
        return;
    open_ = id;
    marked_.clear();
    if (!id.isEmpty())
        marked_.insert(id);
    anchor_ = id;
    showMarks();
    scrollToSelected();
}

void SidebarTree::scrollToSelected() {
    const QModelIndex index = rows_ != nullptr ? rows_->chatIndex(open_) : QModelIndex();
    if (!index.isValid() || !isExpanded(index.parent()))
        return;
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    if (isVisible())
        scrollTo(index);
}

void SidebarTree::showEvent(QShowEvent* event) {
    QTreeView::showEvent(event);
    scrollToSelected();
}

QStringList SidebarTree::markedChats() const {
    QModelIndexList indexes;
    for (const QString& id : marked_) {
        const QModelIndex index = rows_->chatIndex(id);
        if (index.isValid() && isExpanded(index.parent()))
            indexes.append(index);
    }
    std::sort(indexes.begin(), indexes.end(), [](const QModelIndex& one, const QModelIndex& other) {
        return std::pair(one.parent().row(), one.row()) < std::pair(other.parent().row(), other.row());
    });
    QStringList ids;
    for (const QModelIndex& index : indexes)
        ids.append(sidebarId(index));
    return ids;
}

void SidebarTree::showMarks() {
    if (selectionModel() == nullptr)
        return;
    QItemSelection marks;
    for (const QString& id : std::as_const(marked_)) {
        if (const QModelIndex index = rows_->chatIndex(id); index.isValid())
            marks.select(index, index);
    }
    const QModelIndexList shown = selectionModel()->selectedIndexes();
    const bool isSame = shown.size() == marks.size() &&
                        std::all_of(shown.begin(), shown.end(),
                                    [&](const QModelIndex& index) { return marks.contains(index); });
    if (!isSame)
        selectionModel()->select(marks, QItemSelectionModel::ClearAndSelect);
}

void SidebarTree::mark(const QModelIndex& index) {
    marked_ = {sidebarId(index)};
    anchor_ = sidebarId(index);
    showMarks();
}

void SidebarTree::toggleMark(const QModelIndex& index) {
    const QString id = sidebarId(index);
    if (!marked_.remove(id))
        marked_.insert(id);
    anchor_ = id;
    showMarks();
}

void SidebarTree::markRange(const QModelIndex& to) {
    QModelIndex from = rows_->chatIndex(anchor_);
    if (!from.isValid() || !isExpanded(from.parent()))
        from = to;
    const bool downwards = visualRect(from).top() <= visualRect(to).top();
    marked_.clear();
    for (QModelIndex index = from; index.isValid();
         index = downwards ? indexBelow(index) : indexAbove(index)) {
        if (isChat(index))
            marked_.insert(sidebarId(index));
        if (index == to)
            break;
    }
    showMarks();
}

void SidebarTree::choose(const QModelIndex& index) {
    if (!isChat(index))
        return;
    mark(index);
    const QString id = sidebarId(index);
    if (id == open_)
        return;
    open_ = id;
    Q_EMIT chatChosen(id);
}

QStringList SidebarTree::chatsFor(const QModelIndex& index) const {
    const QStringList marked = markedChats();
    return marked.contains(sidebarId(index)) ? marked : QStringList{sidebarId(index)};
}

bool SidebarTree::canBeChosen(const QModelIndex& index) const {
    return isChat(index) || isFolder(index);
}

QModelIndex SidebarTree::firstChat() const {
    QModelIndex index = rows_ != nullptr ? rows_->index(0, 0) : QModelIndex();
    while (index.isValid() && !isChat(index))
        index = indexBelow(index);
    return index;
}

void SidebarTree::chooseFirst() {
    if (const QModelIndex first = firstChat(); first.isValid()) {
        selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
        choose(first);
        Q_EMIT chatOpened();
    }
}

void SidebarTree::focusRows() {
    if (!canBeChosen(currentIndex())) {
        if (const QModelIndex first = firstChat(); first.isValid())
            selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
    }
    setFocus(Qt::TabFocusReason);
}

void SidebarTree::toggleFolder(const QModelIndex& index) {
    setFolderOpen(index, !isExpanded(index));
}

void SidebarTree::setFolderOpen(const QModelIndex& index, bool open) {
    if (isExpanded(index) == open)
        return;
    setExpanded(index, open);
    Q_EMIT folderToggled(sidebarId(index), open);
}

void SidebarTree::setMenuRow(const QModelIndex& index) {
    delegate_->setMenuRow(index);
    viewport()->update();
}

// --- The mouse

void SidebarTree::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    delegate_->setRingVisible(false);
    pressed_ = QPersistentModelIndex();
    chooseOnRelease_ = false;
    const QModelIndex index = indexAt(event->position().toPoint());
    if (!canBeChosen(index))
        return;
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    if (isFolder(index))
        return toggleFolder(index);
    pressed_ = index;
    pressedAt_ = event->position().toPoint();
    if (event->modifiers().testFlag(Qt::ShiftModifier))
        markRange(index);
    else if (event->modifiers().testFlag(Qt::ControlModifier))
        toggleMark(index);
    else if (markedChats().size() > 1 && marked_.contains(sidebarId(index)))
        chooseOnRelease_ = true; // it may become a drag of them all
    else
        choose(index);
}

void SidebarTree::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() == Qt::NoButton)
        return QTreeView::mouseMoveEvent(event);
    // A drag over the rows is not a choice; a drag of chats takes them along.
    const int distance = (event->position().toPoint() - pressedAt_).manhattanLength();
    if (event->buttons() == Qt::LeftButton && pressed_.isValid() &&
        distance >= QApplication::startDragDistance())
        startDragging();
}

void SidebarTree::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && std::exchange(chooseOnRelease_, false) &&
        indexAt(event->position().toPoint()) == pressed_)
        choose(pressed_);
    pressed_ = QPersistentModelIndex();
}

void SidebarTree::mouseDoubleClickEvent(QMouseEvent* event) {
    mousePressEvent(event); // two quick clicks are two clicks
}

void SidebarTree::contextMenuEvent(QContextMenuEvent* event) {
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = byKey ? currentIndex() : indexAt(viewport()->mapFromGlobal(event->globalPos()));
    if (!canBeChosen(index))
        return;
    if (byKey)
        scrollTo(index);
    const QRect row = visualRect(index);
    const QPoint place = byKey ? viewport()->mapToGlobal(row.center()) : event->globalPos();
    setMenuRow(index);
    if (isFolder(index))
        Q_EMIT folderMenuRequested(sidebarId(index), place);
    else
        Q_EMIT chatMenuRequested(chatsFor(index), place);
}

// --- The keyboard

void SidebarTree::keyPressEvent(QKeyEvent* event) {
    if (state() == QAbstractItemView::EditingState || rows_ == nullptr)
        return event->ignore();
    const bool mirrored = layoutDirection() == Qt::RightToLeft;
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return activateCurrent(false);
    case Qt::Key_Space:
        return activateCurrent(event->modifiers().testFlag(Qt::ControlModifier));
    case Qt::Key_Left:
        return stepInOrOut(mirrored);
    case Qt::Key_Right:
        return stepInOrOut(!mirrored);
    case Qt::Key_Delete:
        return deleteCurrent();
    case Qt::Key_F2:
        if (canBeChosen(currentIndex()))
            renameRow(currentIndex());
        return;
    case Qt::Key_Escape:
        return Q_EMIT escaped();
    default:
        break;
    }
    if (movesCurrent(event->key()))
        moveByKey(event);
    else if (isTyping(*event))
        Q_EMIT typed(event->text());
    else
        event->ignore();
}

void SidebarTree::moveByKey(QKeyEvent* event) {
    delegate_->setRingVisible(true);
    QTreeView::keyPressEvent(event);
    const QModelIndex current = currentIndex();
    if (!isChat(current) || event->modifiers().testFlag(Qt::ControlModifier))
        return;
    if (event->modifiers().testFlag(Qt::ShiftModifier))
        markRange(current);
    else
        choose(current);
}

QModelIndex SidebarTree::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
    QModelIndex index = QTreeView::moveCursor(action, modifiers);
    const bool upwards =
        action == MoveUp || action == MovePrevious || action == MovePageUp || action == MoveEnd;
    while (index.isValid() && !canBeChosen(index))
        index = upwards ? indexAbove(index) : indexBelow(index);
    return index.isValid() ? index : currentIndex();
}

void SidebarTree::stepInOrOut(bool in) {
    const QModelIndex current = currentIndex();
    delegate_->setRingVisible(true);
    if (isFolder(current))
        setFolderOpen(current, in);
    else if (!in && isFolder(current.parent()))
        selectionModel()->setCurrentIndex(current.parent(), QItemSelectionModel::NoUpdate);
}

void SidebarTree::activateCurrent(bool toggle) {
    const QModelIndex current = currentIndex();
    if (isFolder(current))
        return toggleFolder(current);
    if (!isChat(current))
        return;
    if (toggle)
        return toggleMark(current);
    choose(current);
    Q_EMIT chatOpened();
}

void SidebarTree::deleteCurrent() {
    const QModelIndex current = currentIndex();
    if (isFolder(current))
        Q_EMIT deleteFolderRequested(sidebarId(current));
    else if (isChat(current))
        Q_EMIT deleteChatsRequested(chatsFor(current));
}

void SidebarTree::focusInEvent(QFocusEvent* event) {
    if (rows_ != nullptr && !currentIndex().isValid()) {
        if (const QModelIndex open = rows_->chatIndex(open_); open.isValid())
            selectionModel()->setCurrentIndex(open, QItemSelectionModel::NoUpdate);
    }
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason)
        delegate_->setRingVisible(true); // until the mouse takes it away
    QTreeView::focusInEvent(event);
}

void SidebarTree::tellRename(const QModelIndex& index, const QString& name) {
    if (isFolder(index))
        Q_EMIT folderRenamed(sidebarId(index), name);
    else
        Q_EMIT chatRenamed(sidebarId(index), name);
}

void SidebarTree::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
    // Tab ends the change and leaves; it does not begin one of the next row.
    const bool goesOn =
        hint == QAbstractItemDelegate::EditNextItem || hint == QAbstractItemDelegate::EditPreviousItem;
    QTreeView::closeEditor(editor, goesOn ? QAbstractItemDelegate::NoHint : hint);
}

} // namespace teskal
