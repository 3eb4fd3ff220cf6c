#pragma once

#include <QWidget>

class QAbstractItemModel;

namespace teskal {

class AccountFooter;
class ChatListView;
class InkLabel;
class Theme;

/// The left column: new chat, the list of chats, the account.
class SidebarView : public QWidget {
    Q_OBJECT

public:
    explicit SidebarView(const Theme& theme, QWidget* parent = nullptr);

    /// A model with the roles of ChatRole.h, newest chat first; not owned.
    void setModel(QAbstractItemModel* model);
    [[nodiscard]] ChatListView& list() { return *list_; }
    void setAccountName(const QString& name);

Q_SIGNALS:
    void newChatRequested();
    void signOutRequested();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showEmptyHint();

    const Theme& theme_;
    ChatListView* list_;
    InkLabel* emptyHint_;
    AccountFooter* footer_;
};

} // namespace teskal
