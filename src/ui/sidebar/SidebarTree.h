#pragma once

#include <QPersistentModelIndex>
#include <QSet>
#include <QStringList>
#include <QTreeView>

#include <optional>

namespace teskal {

class SidebarRowDelegate;
class SidebarRows;
class Theme;

/// The folders and chats. Which chat is open is told by id and follows clicks and keys only: gaining the
/// focus, rows that go, move or come never choose another one. Further chats may be marked beside it, to be
/// filed or deleted together.
class SidebarTree : public QTreeView {
    Q_OBJECT

public:
    explicit SidebarTree(const Theme& theme, QWidget* parent = nullptr);

    /// Not owned.
    void setRows(SidebarRows* rows);
    [[nodiscard]] SidebarRows* rows() const { return rows_; }

    [[nodiscard]] QString selectedChat() const { return open_; }
    /// Marks the chat with this id alone, now or when its row appears; empty for none. Emits nothing.
    void setSelectedChat(const QString& id);
    /// The chats that are marked and can be seen, in the order of their rows.
    [[nodiscard]] QStringList markedChats() const;

    /// Chooses the first chat of the rows.
    void chooseFirst();
    /// Brings the focus to the rows, on the first chat when none of them is current.
    void focusRows();
    /// Lets the name of the chat or folder be changed in its row.
    void renameRow(const QModelIndex& index) { edit(index); }
    /// Shows that an open menu is about this row; an invalid one for none.
    void setMenuRow(const QModelIndex& index);

Q_SIGNALS:
    /// The user chose a chat other than the one selected, which is selected now.
    void chatChosen(const QString& id);
    /// The user wants to go on in the chat that is selected.
    void chatOpened();
    void chatRenamed(const QString& id, const QString& title);
    void folderRenamed(const QString& id, const QString& name);
    void folderToggled(const QString& id, bool open);
    void deleteChatsRequested(const QStringList& ids);
    void deleteFolderRequested(const QString& id);
    /// The chats shall be filed in the folder, or with none taken out of theirs.
    void filingRequested(const QStringList& chatIds, const std::optional<QString>& folderId);
    /// A menu for these chats, or for the folder, is wanted at a place of the screen.
    void chatMenuRequested(const QStringList& ids, const QPoint& place);
    void folderMenuRequested(const QString& id, const QPoint& place);
    /// The user types: what is typed is to be searched for.
    void typed(const QString& text);
    void escaped();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;

protected Q_SLOTS:
    void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;

private:
    /// Where a drag would put its chats.
    struct DropTarget {
        std::optional<QString> folderId; ///< none: out of their folders
        friend bool operator==(const DropTarget&, const DropTarget&) = default;
    };

    void follow(SidebarRows* rows);
    void showExpansion(const QModelIndex& parent, int first, int last);
    void showMarks();
    /// Without rows there is nothing in which the focus could be seen: Tab passes it by.
    void takeTab();
    /// Scrolls so far that the selected chat is seen, once there is something to be seen.
    void scrollToSelected();
    void mark(const QModelIndex& index);
    void toggleMark(const QModelIndex& index);
    void markRange(const QModelIndex& to);
    void choose(const QModelIndex& index);
    void toggleFolder(const QModelIndex& index);
    void setFolderOpen(const QModelIndex& index, bool open);
    void moveByKey(QKeyEvent* event);
    void stepInOrOut(bool in);
    void activateCurrent(bool toggle);
    void deleteCurrent();
    void tellRename(const QModelIndex& index, const QString& name);
    [[nodiscard]] bool canBeChosen(const QModelIndex& index) const;
    [[nodiscard]] QModelIndex firstChat() const;
    /// What an action on this row is about: all marked chats when it is one of them.
    [[nodiscard]] QStringList chatsFor(const QModelIndex& index) const;

    void startDragging();
    [[nodiscard]] QPixmap dragPicture(const QStringList& chatIds) const;
    [[nodiscard]] std::optional<DropTarget> targetAt(const QPoint& place, const QStringList& chatIds) const;
    void setDropTarget(const std::optional<DropTarget>& target);
    [[nodiscard]] QRect dropRect() const;

    const Theme& theme_;
    SidebarRowDelegate* delegate_;
    SidebarRows* rows_ = nullptr;
    QString open_;
    QSet<QString> marked_; ///< with the open chat
    QString anchor_;       ///< where a range of marks begins
    QPoint pressedAt_;
    QPersistentModelIndex pressed_; ///< the chat that the left button is held on
    bool chooseOnRelease_ = false;
    std::optional<DropTarget> dropTarget_;
};

} // namespace teskal
