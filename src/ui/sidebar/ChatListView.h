#pragma once

#include <QListView>

namespace teskal {

class ChatRowDelegate;
class Theme;

/// The list of chats. Which chat is open is told by id and follows clicks and keys only: gaining the focus,
/// rows that go, move or come never choose another one.
class ChatListView : public QListView {
    Q_OBJECT

public:
    explicit ChatListView(const Theme& theme, QWidget* parent = nullptr);

    /// A model with the roles of ChatRole.h; not owned.
    void setModel(QAbstractItemModel* model) override;

    [[nodiscard]] QString selectedChat() const { return selected_; }
    /// Marks the chat with this id, now or when its row appears; empty for none. Emits nothing.
    void setSelectedChat(const QString& id);

Q_SIGNALS:
    /// The user chose a chat other than the one selected, which is selected now.
    void chatChosen(const QString& id);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    void choose(const QModelIndex& index);
    void showSelection();
    [[nodiscard]] QModelIndex indexOf(const QString& id) const;

    ChatRowDelegate* delegate_;
    QString selected_;
};

} // namespace teskal
