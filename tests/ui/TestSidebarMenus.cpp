#include "SidebarTest.h"
#include "sidebar/AccountFooter.h"
#include "sidebar/SidebarMenus.h"

#include <QAbstractButton>
#include <QContextMenuEvent>
#include <QMenu>

using namespace teskal::test;

namespace {

/// The menu's items, those of a submenu behind its title; disabled ones in brackets.
QStringList itemsOf(const QMenu& menu, const QString& before = {}) {
    QStringList items;
    for (const QAction* action : menu.actions()) {
        if (action->isSeparator())
            continue;
        const QString text = before + action->text();
        items.append(action->isEnabled() ? text : u"[%1]"_qs.arg(text));
        if (action->menu())
            items.append(itemsOf(*action->menu(), u"> "_qs));
    }
    return items;
}

QAction* itemOf(const QMenu& menu, const QString& text) {
    for (QAction* action : menu.actions()) {
        if (action->text() == text)
            return action;
        if (QAction* inner = action->menu() ? itemOf(*action->menu(), text) : nullptr)
            return inner;
    }
    return nullptr;
}

} // namespace

class TestSidebarMenus final : public SidebarTest {
    Q_OBJECT

private Q_SLOTS:
    void chatMenu_data() {
        const auto row = columns<QString, QString>("chats", "items");
        row("a chat of the list", "list",
            "Rename…|Copy Transcript|Move to Folder|> R&&D|> Work|> New Folder…|Delete…");
        row("a filed one", "filed",
            "Rename…|Copy Transcript|Move to Folder|> R&&D|[> Work]|"
            "> New Folder…|Remove from Folder|Delete…");
        row("several", "several", "Move to Folder|> R&&D|> Work|Delete 3 Chats…");
    }

    void chatMenu() {
        FETCH(QString, chats, QString, items);
        library_->folders.create(u"R&D"_qs);
        list_->setFocus();
        const QString id = chats == u"filed"_qs ? filed_ : chats_[1];
        if (chats == u"several"_qs) {
            click(chats_[1]);
            click(chats_[3], Qt::ShiftModifier);
        }
        const QStringList ids = chats == u"several"_qs ? chats_.mid(1, 3) : QStringList{id};
        QMenu* menu = openMenu(rows_->chatIndex(id));
        QVERIFY(menu);
        QStringList found = itemsOf(*menu);
        QStringList wanted = items.split(QLatin1Char('|'));
        found.sort();
        wanted.sort();
        QCOMPARE(found, wanted);
        SidebarMenus& menus = sidebar_->menus();
        QSignalSpy filing(&menus, &SidebarMenus::filingRequested);
        QSignalSpy deletion(&menus, &SidebarMenus::deleteChatsRequested);
        QSignalSpy copying(&menus, &SidebarMenus::copyTranscriptRequested);
        QSignalSpy renaming(&menus, &SidebarMenus::renameChatRequested);
        for (const char* text : {"R&&D", "Delete…", "Delete 3 Chats…", "Copy Transcript", "Rename…"})
            if (QAction* item = itemOf(*menu, QString::fromUtf8(text)))
                item->trigger();
        QCOMPARE(filing.at(0).at(0).toStringList(), ids);
        QCOMPARE(deletion.at(0).at(0).toStringList(), ids);
        QCOMPARE(copying.count(), ids.size() == 1 ? 1 : 0);
        QCOMPARE(renaming.count(), ids.size() == 1 ? 1 : 0);
        menu->close();
    }

    void folderMenu() {
        QSignalSpy renaming(&sidebar_->menus(), &SidebarMenus::renameFolderRequested);
        QSignalSpy deletion(&sidebar_->menus(), &SidebarMenus::deleteFolderRequested);
        list_->setFocus();
        list_->selectionModel()->setCurrentIndex(folderRow(), QItemSelectionModel::NoUpdate);
        QContextMenuEvent byKey(QContextMenuEvent::Keyboard, {}, {});
        QCoreApplication::sendEvent(list_->viewport(), &byKey);
        auto* menu = list_->findChild<QMenu*>(u"sidebarMenu"_qs);
        QVERIFY(menu);
        QCOMPARE(itemsOf(*menu), (QStringList{u"Rename Folder…"_qs, u"Delete Folder…"_qs}));
        itemOf(*menu, u"Rename Folder…"_qs)->trigger();
        itemOf(*menu, u"Delete Folder…"_qs)->trigger();
        QCOMPARE(renaming.at(0).at(0).toString(), folder_);
        QCOMPARE(deletion.at(0).at(0).toString(), folder_);
        menu->close();
    }

    void buttonsAndAccountMenu() {
        QSignalSpy newChat(sidebar_.get(), &SidebarView::newChatRequested);
        QSignalSpy newFolder(sidebar_.get(), &SidebarView::newFolderRequested);
        QTest::mouseClick(sidebar_->findChild<QAbstractButton*>(u"sidebarNewChat"_qs), Qt::LeftButton);
        auto* folder = sidebar_->findChild<QAbstractButton*>(u"newFolderButton"_qs);
        QTest::mouseClick(folder, Qt::LeftButton);
        QCOMPARE(newChat.count(), 1);
        QCOMPARE(newFolder.count(), 1);
        QCOMPARE(folder->toolTip(), u"New folder (Ctrl+Alt+N)"_qs);

        AccountFooter& footer = sidebar_->footer();
        footer.setName(u"Ada Lovelace"_qs);
        footer.setBalance(u"1,234 credits"_qs);
        QCOMPARE(footer.accessibleName(), u"Ada Lovelace"_qs);
        QVERIFY(footer.accessibleDescription().contains(u"1,234 credits"_qs));
        const std::vector<std::pair<const char*, void (AccountFooter::*)()>> items{
            {"Privacy and Models…", &AccountFooter::privacyRequested},
            {"Where Requests Went…", &AccountFooter::routesRequested},
            {"API Keys", &AccountFooter::keysRequested},
            {"Credits…", &AccountFooter::creditsRequested},
            {"Sign Out", &AccountFooter::signOutRequested}};
        auto* menu = footer.findChild<QMenu*>();
        for (const auto& [text, signal] : items) {
            QSignalSpy requested(&footer, signal);
            footer.setFocus(Qt::TabFocusReason);
            QTest::keyClick(&footer, Qt::Key_Return);
            QTRY_VERIFY(menu->isVisible());
            menu->setActiveAction(itemOf(*menu, QString::fromUtf8(text)));
            QTest::keyClick(menu, Qt::Key_Return);
            QTRY_COMPARE(requested.count(), 1);
        }
    }

private:
    [[nodiscard]] QMenu* openMenu(const QModelIndex& index) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, placeOf(index),
                                list_->viewport()->mapToGlobal(placeOf(index)));
        QCoreApplication::sendEvent(list_->viewport(), &event);
        return list_->findChild<QMenu*>(u"sidebarMenu"_qs);
    }
};

QTEST_MAIN(TestSidebarMenus)
#include "TestSidebarMenus.moc"
