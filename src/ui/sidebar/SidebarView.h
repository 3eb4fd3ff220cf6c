#pragma once

#include <QWidget>

#include <optional>

namespace teskal {

class AccountFooter;
class InkLabel;
class SearchField;
class SidebarMenus;
class SidebarRows;
class SidebarTree;
class Theme;

/// The left column: search, new chat, folders and chats, the account.
class SidebarView : public QWidget {
    Q_OBJECT

public:
    explicit SidebarView(const Theme& theme, QWidget* parent = nullptr);

    /// Not owned.
    void setRows(SidebarRows* rows);
    [[nodiscard]] SidebarTree& list() { return *list_; }
    [[nodiscard]] SidebarMenus& menus() { return *menus_; }
    [[nodiscard]] AccountFooter& footer() { return *footer_; }
    /// What is said in place of rows; empty for nothing.
    void setHint(const QString& hint);

    /// Brings the focus to the search field, with its text selected.
    void focusSearch();
    [[nodiscard]] QString searchText() const;
    void clearSearch();

Q_SIGNALS:
    void newChatRequested();
    void newFolderRequested();
    /// The user is about to search.
    void searchOpened();
    void searchChanged(const QString& text);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void takeTyped(const QString& text);

    const Theme& theme_;
    SearchField* search_;
    SidebarTree* list_;
    SidebarMenus* menus_;
    InkLabel* hint_;
    AccountFooter* footer_;
};

} // namespace teskal
