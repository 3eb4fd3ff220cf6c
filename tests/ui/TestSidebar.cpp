#include "SidebarLibrary.h"
#include "sidebar/AccountFooter.h"
#include "sidebar/Avatar.h"
#include "sidebar/ChatMime.h"
#include "sidebar/SidebarMenus.h"
#include "sidebar/SidebarTree.h"
#include "sidebar/SidebarView.h"
#include "theme/Theme.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>

#include <functional>
#include <memory>

using namespace teskal;
using namespace teskal::test;

using Change = std::function<void(SidebarLibrary&)>;
Q_DECLARE_METATYPE(Change)

namespace {

constexpr double minute = 60'000;

/// Counts how often the rows are painted.
class Paints : public QObject {
public:
    explicit Paints(QWidget& viewport) { viewport.installEventFilter(this); }
    int count = 0;

protected:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

} // namespace

class TestSidebar : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void clicksChoose();
    void keysChoose();
    void focusDoesNotChoose();
    void changesDoNotChoose_data();
    void changesDoNotChoose();
    void severalChats();
    void foldersOpenAndClose();
    void drops_data();
    void drops();
    void dragsCarryThePrivateTypeOnly();
    void renameInPlace_data();
    void renameInPlace();
    void deleteKey();
    void chatMenu_data();
    void chatMenu();
    void folderMenu();
    void typingSearches();
    void onlyItsOwnRowIsPainted();
    void rowsInTheAccessibilityTree();
    void buttonsAndAccountMenu();
    void initials_data();
    void initials();

private:
    [[nodiscard]] QPoint placeOf(const QModelIndex& index) const { return list_->visualRect(index).center(); }
    void click(const QModelIndex& index, Qt::KeyboardModifiers modifiers = {},
               Qt::MouseButton button = Qt::LeftButton) {
        QTest::mouseClick(list_->viewport(), button, modifiers, placeOf(index));
    }
    void click(const QString& id, Qt::KeyboardModifiers modifiers = {}) {
        click(rows_->chatIndex(id), modifiers);
    }
    [[nodiscard]] QModelIndex folderRow() const { return rows_->index(0, 0); }
    [[nodiscard]] QStringList shownMarks() const;
    [[nodiscard]] QMenu* openMenu(const QModelIndex& index);

    std::unique_ptr<Theme> theme_;
    std::unique_ptr<SidebarLibrary> library_;
    std::unique_ptr<SidebarModel> rows_;
    std::unique_ptr<SidebarView> sidebar_;
    SidebarTree* list_ = nullptr;
    QString filed_, folder_;
    QStringList chats_; ///< newest first, not in the folder
};

void TestSidebar::initTestCase() {
    theme_ = std::make_unique<Theme>();
    theme_->install(*qApp);
    theme_->setAppearance(Appearance::Light);
    QAccessible::setActive(true);
}

void TestSidebar::init() {
    sidebar_.reset();
    rows_.reset();
    library_ = std::make_unique<SidebarLibrary>();
    chats_.clear();
    for (int number = 0; number < 5; ++number)
        chats_.append(library_->add(QStringLiteral("Chat %1").arg(number), number * minute));
    filed_ = library_->add(QStringLiteral("Filed"), 0, QStringLiteral("about tea"));
    folder_ = library_->addFolder(QStringLiteral("Work"), {filed_});
    rows_ = std::make_unique<SidebarModel>(library_->sources());
    sidebar_ = std::make_unique<SidebarView>(*theme_);
    sidebar_->setRows(rows_.get());
    list_ = &sidebar_->list();
    sidebar_->resize(268, 600);
    sidebar_->show();
    sidebar_->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(sidebar_.get()));
}

QStringList TestSidebar::shownMarks() const {
    QStringList ids;
    for (const QModelIndex& index : list_->selectionModel()->selectedIndexes())
        ids.append(sidebarId(index));
    ids.sort();
    return ids;
}

void TestSidebar::clicksChoose() {
    QSignalSpy chosen(list_, &SidebarTree::chatChosen);
    click(chats_[2]);
    click(chats_[2]);
    QCOMPARE(chosen.count(), 1);
    QCOMPARE(chosen.at(0).at(0).toString(), chats_[2]);
    QCOMPARE(shownMarks(), QStringList{chats_[2]});
    click(rows_->index(1, 0)); // a heading
    click(folderRow());
    click(rows_->chatIndex(chats_[3]), {}, Qt::RightButton);
    click(rows_->chatIndex(chats_[3]), {}, Qt::MiddleButton);
    QTest::mouseClick(list_->viewport(), Qt::LeftButton, {}, QPoint(100, list_->viewport()->height() - 5));
    QCOMPARE(chosen.count(), 1);
    QCOMPARE(list_->selectedChat(), chats_[2]);
    // The selection is told by its id, and comes with its row.
    list_->setSelectedChat(QStringLiteral("c7"));
    QVERIFY(shownMarks().isEmpty());
    QCOMPARE(library_->add(QStringLiteral("New")), QStringLiteral("c7"));
    QCOMPARE(shownMarks(), QStringList{QStringLiteral("c7")});
    QCOMPARE(chosen.count(), 1);
}

void TestSidebar::keysChoose() {
    list_->setSelectedChat(chats_[1]);
    list_->setFocus();
    QSignalSpy chosen(list_, &SidebarTree::chatChosen);
    QSignalSpy opened(list_, &SidebarTree::chatOpened);
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_End, Qt::Key_Down, Qt::Key_Up})
        QTest::keyClick(list_, key);
    QStringList ids;
    for (const QList<QVariant>& call : chosen)
        ids.append(call.at(0).toString());
    QCOMPARE(ids, (QStringList{chats_[2], chats_[4], chats_[3]}));
    // Up from the first chat of the day: the heading is passed over.
    click(chats_[0]);
    QTest::keyClick(list_, Qt::Key_Up);
    QCOMPARE(list_->selectedChat(), filed_);
    QTest::keyClick(list_, Qt::Key_Up);
    QCOMPARE(list_->currentIndex(), folderRow());
    QCOMPARE(list_->selectedChat(), filed_);
    QTest::keyClick(list_, Qt::Key_Down);
    // Opening no chat keeps the place; Return takes the row again.
    list_->setSelectedChat({});
    QTest::keyClick(list_, Qt::Key_Return);
    QCOMPARE(list_->selectedChat(), filed_);
    QCOMPARE(opened.count(), 1);
}

void TestSidebar::focusDoesNotChoose() {
    QSignalSpy chosen(list_, &SidebarTree::chatChosen);
    for (const Qt::FocusReason reason : {Qt::TabFocusReason, Qt::OtherFocusReason, Qt::ShortcutFocusReason}) {
        list_->clearFocus();
        list_->setFocus(reason);
        QCOMPARE(chosen.count(), 0);
        QVERIFY(shownMarks().isEmpty());
    }
}

void TestSidebar::changesDoNotChoose_data() {
    QTest::addColumn<Change>("change");
    QTest::addColumn<bool>("stillThere");
    const auto row = [](const char* name, bool stillThere, Change change) {
        QTest::newRow(name) << std::move(change) << stillThere;
    };
    const auto id = [](int number) { return QStringLiteral("c%1").arg(number); };
    row("the selected goes", false, [id](SidebarLibrary& library) { library.store.remove(id(3)); });
    row("the one before goes", true, [id](SidebarLibrary& library) { library.store.remove(id(2)); });
    row("a new one comes first", true,
        [](SidebarLibrary& library) { library.store.create(QStringLiteral("New")); });
    row("all but the selected go", true, [id](SidebarLibrary& library) {
        for (const int number : {1, 2, 4, 5, 6})
            library.store.remove(id(number));
    });
    row("it moves to the top", true,
        [id](SidebarLibrary& library) { library.store.rename(id(3), QStringLiteral("z")); });
    row("it is filed", true, [id](SidebarLibrary& library) {
        library.folders.assign({id(3)}, library.folders.folders().constFirst().id);
    });
    row("midnight", true, [](SidebarLibrary& library) { library.clock.advance(std::chrono::hours(24)); });
    row("a search finds it", true,
        [](SidebarLibrary& library) { QVERIFY(library.look(QStringLiteral("chat"))); });
    row("a search does not find it", false,
        [](SidebarLibrary& library) { QVERIFY(library.look(QStringLiteral("tea"))); });
    row("everything goes", false, [](SidebarLibrary& library) { library.store.claim(std::nullopt); });
}

void TestSidebar::changesDoNotChoose() {
    QFETCH(const Change, change);
    QFETCH(const bool, stillThere);
    const QString selected = chats_[2];
    QCOMPARE(selected, QStringLiteral("c3"));
    list_->setFocus();
    click(selected);
    QSignalSpy chosen(list_, &SidebarTree::chatChosen);
    change(*library_);
    QCoreApplication::processEvents();
    QCOMPARE(chosen.count(), 0);
    QCOMPARE(list_->selectedChat(), selected);
    QCOMPARE(shownMarks(), stillThere ? QStringList{selected} : QStringList());
}

void TestSidebar::severalChats() {
    click(chats_[1]);
    QSignalSpy chosen(list_, &SidebarTree::chatChosen);
    click(chats_[3], Qt::ControlModifier);
    QCOMPARE(list_->markedChats(), (QStringList{chats_[1], chats_[3]}));
    click(chats_[1], Qt::ShiftModifier);
    QCOMPARE(list_->markedChats(), chats_.mid(1, 3));
    click(chats_[2], Qt::ControlModifier);
    QCOMPARE(list_->markedChats(), (QStringList{chats_[1], chats_[3]}));
    list_->setFocus();
    QTest::keyClick(list_, Qt::Key_Down, Qt::ShiftModifier); // from the one that was pressed last
    QCOMPARE(list_->markedChats(), (QStringList{chats_[2], chats_[3]}));
    QCOMPARE(chosen.count(), 0);
    QCOMPARE(list_->selectedChat(), chats_[1]);
    // What cannot be seen is not acted on.
    library_->store.remove(chats_[3]);
    QCOMPARE(list_->markedChats(), QStringList{chats_[2]});
    click(filed_, Qt::ControlModifier);
    QCOMPARE(list_->markedChats(), (QStringList{filed_, chats_[2]}));
    click(folderRow());
    QCOMPARE(list_->markedChats(), QStringList{chats_[2]});
    click(chats_[0]);
    QCOMPARE(list_->markedChats(), QStringList{chats_[0]});
    QCOMPARE(chosen.count(), 1);
}

void TestSidebar::foldersOpenAndClose() {
    QSignalSpy toggled(list_, &SidebarTree::folderToggled);
    const auto last = [&toggled] { return toggled.constLast().at(1).toBool(); };
    click(folderRow());
    QVERIFY(!list_->isExpanded(folderRow()) && !last());
    QCOMPARE(toggled.at(0).at(0).toString(), folder_);
    list_->setFocus();
    QTest::keyClick(list_, Qt::Key_Right);
    QVERIFY(list_->isExpanded(folderRow()) && last());
    QTest::keyClick(list_, Qt::Key_Down); // the chat in it
    QTest::keyClick(list_, Qt::Key_Left); // out of it
    QTest::keyClick(list_, Qt::Key_Left);
    QVERIFY(!list_->isExpanded(folderRow()));
    QTest::keyClick(list_, Qt::Key_Return);
    QTest::keyClick(list_, Qt::Key_Right); // it is open already
    QVERIFY(list_->isExpanded(folderRow()));
    QCOMPARE(toggled.count(), 4);
    rows_->setCollapsed({folder_});
    QVERIFY(!list_->isExpanded(folderRow()));
    QCOMPARE(toggled.count(), 4);
}

void TestSidebar::drops_data() {
    QTest::addColumn<QStringList>("dragged"); // indexes into the chats; "filed" for the one in the folder
    QTest::addColumn<QString>("onto");
    QTest::addColumn<bool>("taken");
    QTest::addColumn<bool>("intoFolder");
    const QStringList two{QStringLiteral("1"), QStringLiteral("2")};
    const QStringList filed{QStringLiteral("filed")};
    QTest::newRow("two on a folder") << two << QStringLiteral("folder") << true << true;
    QTest::newRow("on what is in it") << two << QStringLiteral("filed") << true << true;
    QTest::newRow("out of it onto a chat") << filed << QStringLiteral("0") << true << false;
    QTest::newRow("out of it onto nothing") << filed << QStringLiteral("below") << true << false;
    QTest::newRow("where it is") << filed << QStringLiteral("folder") << false << false;
    QTest::newRow("where they are") << two << QStringLiteral("below") << false << false;
    QTest::newRow("one of them is there") << (two + filed) << QStringLiteral("folder") << true << true;
    QTest::newRow("no chats") << QStringList() << QStringLiteral("folder") << false << false;
}

void TestSidebar::drops() {
    QFETCH(const QStringList, dragged);
    QFETCH(const QString, onto);
    QFETCH(const bool, taken);
    QFETCH(const bool, intoFolder);
    const auto chat = [&](const QString& name) {
        return name == QStringLiteral("filed") ? filed_ : chats_[name.toInt()];
    };
    QStringList ids;
    for (const QString& name : dragged)
        ids.append(chat(name));
    QPoint place(100, list_->viewport()->height() - 40);
    if (onto == QStringLiteral("folder"))
        place = placeOf(folderRow());
    else if (onto != QStringLiteral("below"))
        place = placeOf(rows_->chatIndex(chat(onto)));
    const std::unique_ptr<QMimeData> data(ids.isEmpty() ? new QMimeData : ChatMime::of(ids));
    if (ids.isEmpty())
        data->setText(chats_[0]);
    QSignalSpy filing(list_, &SidebarTree::filingRequested);
    const QImage before = list_->viewport()->grab().toImage();
    QDragEnterEvent enter(place, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(list_->viewport(), &enter);
    QDragMoveEvent move(place, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(list_->viewport(), &move);
    QCOMPARE(move.isAccepted(), taken);
    QVERIFY2((list_->viewport()->grab().toImage() != before) == taken, "the target is seen");
    QDropEvent drop(place, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(list_->viewport(), &drop);
    QCOMPARE(filing.count(), taken ? 1 : 0);
    QCOMPARE(list_->viewport()->grab().toImage(), before);
    if (!taken)
        return;
    QCOMPARE(filing.at(0).at(0).toStringList(), ids);
    QCOMPARE(filing.at(0).at(1).value<std::optional<QString>>(),
             intoFolder ? std::optional(folder_) : std::nullopt);
}

void TestSidebar::dragsCarryThePrivateTypeOnly() {
    const std::unique_ptr<QMimeData> data(ChatMime::of(chats_));
    QCOMPARE(data->formats(), QStringList{QStringLiteral("application/x-teskal-chats")});
    QVERIFY(!data->hasText() && !data->hasUrls());
    QCOMPARE(ChatMime::chatsOf(*data), chats_);
}

void TestSidebar::renameInPlace_data() {
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("name");
    QTest::newRow("chat") << false << QStringLiteral(" New ") << int(Qt::Key_Return) << QStringLiteral("New");
    QTest::newRow("folder") << true << QStringLiteral("New") << int(Qt::Key_Return) << QStringLiteral("New");
    QTest::newRow("tab") << false << QStringLiteral("New") << int(Qt::Key_Tab) << QStringLiteral("New");
    QTest::newRow("escape") << false << QStringLiteral("New") << int(Qt::Key_Escape) << QString();
    QTest::newRow("blank") << false << QStringLiteral("  ") << int(Qt::Key_Return) << QString();
    QTest::newRow("the same") << false << QStringLiteral("Chat 1") << int(Qt::Key_Return) << QString();
}

void TestSidebar::renameInPlace() {
    QFETCH(const bool, folder);
    QFETCH(const QString, typed);
    QFETCH(const int, key);
    QFETCH(const QString, name);
    list_->setFocus();
    list_->selectionModel()->setCurrentIndex(folder ? folderRow() : rows_->chatIndex(chats_[1]),
                                             QItemSelectionModel::NoUpdate);
    QSignalSpy renamed(list_, folder ? &SidebarTree::folderRenamed : &SidebarTree::chatRenamed);
    QTest::keyClick(list_, Qt::Key_F2);
    auto* field = list_->findChild<QLineEdit*>(QStringLiteral("renameField"));
    QVERIFY(field && field->hasFocus());
    QCOMPARE(field->selectedText(), folder ? QStringLiteral("Work") : QStringLiteral("Chat 1"));
    QTest::keyClicks(field, typed);
    QTest::keyClick(field, Qt::Key(key));
    QTRY_COMPARE(list_->findChildren<QLineEdit*>().size(), 0);
    QCOMPARE(renamed.count(), name.isEmpty() ? 0 : 1);
    if (!name.isEmpty()) {
        QCOMPARE(renamed.at(0).at(0).toString(), folder ? folder_ : chats_[1]);
        QCOMPARE(renamed.at(0).at(1).toString(), name);
    }
}

void TestSidebar::deleteKey() {
    QSignalSpy chats(list_, &SidebarTree::deleteChatsRequested);
    QSignalSpy folders(list_, &SidebarTree::deleteFolderRequested);
    list_->setFocus();
    click(chats_[1]);
    QTest::keyClick(list_, Qt::Key_Delete);
    QCOMPARE(chats.takeFirst().at(0).toStringList(), QStringList{chats_[1]});
    click(chats_[3], Qt::ShiftModifier);
    QTest::keyClick(list_, Qt::Key_Delete);
    QCOMPARE(chats.takeFirst().at(0).toStringList(), chats_.mid(1, 3));
    click(folderRow());
    QTest::keyClick(list_, Qt::Key_Delete);
    QCOMPARE(folders.takeFirst().at(0).toString(), folder_);
    QVERIFY(chats.isEmpty());
}

QMenu* TestSidebar::openMenu(const QModelIndex& index) {
    QContextMenuEvent event(QContextMenuEvent::Mouse, placeOf(index),
                            list_->viewport()->mapToGlobal(placeOf(index)));
    QCoreApplication::sendEvent(list_->viewport(), &event);
    return list_->findChild<QMenu*>(QStringLiteral("sidebarMenu"));
}

namespace {

/// The menu's items, those of a submenu behind its title; disabled ones in brackets.
QStringList itemsOf(const QMenu& menu, const QString& before = {}) {
    QStringList items;
    for (const QAction* action : menu.actions()) {
        if (action->isSeparator())
            continue;
        const QString text = before + action->text();
        items.append(action->isEnabled() ? text : QStringLiteral("[%1]").arg(text));
        if (action->menu())
            items.append(itemsOf(*action->menu(), QStringLiteral("> ")));
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

void TestSidebar::chatMenu_data() {
    QTest::addColumn<QString>("chats");
    QTest::addColumn<QString>("items");
    QTest::newRow("a chat of the list")
        << QStringLiteral("list")
        << QStringLiteral("Rename…|Copy Transcript|Move to Folder|> R&&D|> Work|> New Folder…|Delete…");
    QTest::newRow("a filed one") << QStringLiteral("filed")
                                 << QStringLiteral("Rename…|Copy Transcript|Move to Folder|> R&&D|[> Work]|"
                                                   "> New Folder…|Remove from Folder|Delete…");
    QTest::newRow("several") << QStringLiteral("several")
                             << QStringLiteral("Move to Folder|> R&&D|> Work|Delete 3 Chats…");
}

void TestSidebar::chatMenu() {
    QFETCH(const QString, chats);
    QFETCH(const QString, items);
    library_->folders.create(QStringLiteral("R&D"));
    list_->setFocus();
    const QString id = chats == QStringLiteral("filed") ? filed_ : chats_[1];
    if (chats == QStringLiteral("several")) {
        click(chats_[1]);
        click(chats_[3], Qt::ShiftModifier);
    }
    const QStringList ids = chats == QStringLiteral("several") ? chats_.mid(1, 3) : QStringList{id};
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
    for (const char* text : {"R&&D", "Delete…", "Delete 3 Chats…", "Copy Transcript", "Rename…"}) {
        if (QAction* item = itemOf(*menu, QString::fromUtf8(text)))
            item->trigger();
    }
    QCOMPARE(filing.at(0).at(0).toStringList(), ids);
    QCOMPARE(deletion.at(0).at(0).toStringList(), ids);
    QCOMPARE(copying.count(), ids.size() == 1 ? 1 : 0);
    QCOMPARE(renaming.count(), ids.size() == 1 ? 1 : 0);
    menu->close();
}

void TestSidebar::folderMenu() {
    QSignalSpy renaming(&sidebar_->menus(), &SidebarMenus::renameFolderRequested);
    QSignalSpy deletion(&sidebar_->menus(), &SidebarMenus::deleteFolderRequested);
    list_->setFocus();
    list_->selectionModel()->setCurrentIndex(folderRow(), QItemSelectionModel::NoUpdate);
    QContextMenuEvent byKey(QContextMenuEvent::Keyboard, {}, {});
    QCoreApplication::sendEvent(list_->viewport(), &byKey);
    auto* menu = list_->findChild<QMenu*>(QStringLiteral("sidebarMenu"));
    QVERIFY(menu);
    QCOMPARE(itemsOf(*menu),
             (QStringList{QStringLiteral("Rename Folder…"), QStringLiteral("Delete Folder…")}));
    itemOf(*menu, QStringLiteral("Rename Folder…"))->trigger();
    itemOf(*menu, QStringLiteral("Delete Folder…"))->trigger();
    QCOMPARE(renaming.at(0).at(0).toString(), folder_);
    QCOMPARE(deletion.at(0).at(0).toString(), folder_);
    menu->close();
}

void TestSidebar::typingSearches() {
    auto* field = sidebar_->findChild<QLineEdit*>(QStringLiteral("sidebarSearch"));
    connect(sidebar_.get(), &SidebarView::searchChanged, &library_->search, &ChatSearch::search);
    QSignalSpy opened(sidebar_.get(), &SidebarView::searchOpened);
    list_->setFocus();
    QTest::keyClick(list_, Qt::Key_T);
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("ea"));
    QCOMPARE(field->text(), QStringLiteral("tea"));
    QVERIFY(opened.count() > 0);
    QTRY_COMPARE(linesOf(*rows_), (QStringList{QStringLiteral("Work"), QStringLiteral("  Filed")}));
    QTest::keyClick(field, Qt::Key_Return);
    QCOMPARE(list_->selectedChat(), filed_);
    QTest::keyClick(field, Qt::Key_Down);
    QVERIFY(list_->hasFocus());
    QTest::keyClick(list_, Qt::Key_Escape);
    QVERIFY(field->text().isEmpty());
    QTRY_COMPARE(rows_->rowCount(), 2);
    sidebar_->focusSearch();
    QTest::keyClicks(field, QStringLiteral("x"));
    QTest::keyClick(field, Qt::Key_Escape);
    QVERIFY(field->text().isEmpty() && field->hasFocus());
    QTest::keyClick(field, Qt::Key_Escape);
    QVERIFY(list_->hasFocus());
    sidebar_->setHint(QStringLiteral("No chats match “<b>x”"));
    const auto* hint = sidebar_->findChild<QLabel*>(QStringLiteral("emptyHint"));
    QVERIFY(hint->isVisible() && hint->textFormat() == Qt::PlainText);
}

void TestSidebar::onlyItsOwnRowIsPainted() {
    QCoreApplication::processEvents();
    Paints paints(*list_->viewport());
    const auto grow = [](ChatMessage& message) { message.content += QStringLiteral(" word"); };
    for (int update = 0; update < 20; ++update) {
        library_->store.updateMessage(chats_[2], QStringLiteral("m"), ChatStore::Touch::No,
                                      ChatStore::Save::No, grow);
        QCoreApplication::processEvents();
    }
    QCOMPARE(paints.count, 0);
    const auto accents = [this] {
        const QImage row = list_->viewport()->grab(list_->visualRect(rows_->chatIndex(chats_[2]))).toImage();
        int count = 0;
        for (int y = 0; y < row.height(); ++y) {
            for (int x = 0; x < row.width(); ++x)
                count += row.pixel(x, y) == theme_->ink().accent.rgb() ? 1 : 0;
        }
        return count;
    };
    QCOMPARE(accents(), 0);
    library_->answering.insert(chats_[2]);
    rows_->updateAnswering(chats_[2]);
    QVERIFY(accents() > 12);
}

void TestSidebar::rowsInTheAccessibilityTree() {
    library_->answering.insert(chats_[0]);
    const QAccessibleInterface* tree = QAccessible::queryAccessibleInterface(list_);
    QCOMPARE(tree->role(), QAccessible::Tree);
    QHash<QString, const QAccessibleInterface*> items;
    for (int child = 0; child < tree->childCount(); ++child) {
        const QAccessibleInterface* item = tree->child(child);
        if (item->role() == QAccessible::ColumnHeader)
            continue; // of the hidden header
        QCOMPARE(item->role(), QAccessible::TreeItem);
        items.insert(item->text(QAccessible::Name), item);
    }
    QVERIFY(items.contains(QStringLiteral("Chat 0, answering")));
    QVERIFY(items.contains(QStringLiteral("Filed")));
    const QAccessibleInterface* folder = items.value(QStringLiteral("Work"));
    QVERIFY(folder && folder->state().expandable && folder->state().expanded);
    click(folderRow());
    QVERIFY(!folder->state().expanded);
}

void TestSidebar::buttonsAndAccountMenu() {
    QSignalSpy newChat(sidebar_.get(), &SidebarView::newChatRequested);
    QSignalSpy newFolder(sidebar_.get(), &SidebarView::newFolderRequested);
    QTest::mouseClick(sidebar_->findChild<QAbstractButton*>(QStringLiteral("sidebarNewChat")),
                      Qt::LeftButton);
    auto* folder = sidebar_->findChild<QAbstractButton*>(QStringLiteral("newFolderButton"));
    QTest::mouseClick(folder, Qt::LeftButton);
    QCOMPARE(newChat.count(), 1);
    QCOMPARE(newFolder.count(), 1);
    QCOMPARE(folder->toolTip(), QStringLiteral("New folder (Ctrl+Alt+N)"));

    AccountFooter& footer = sidebar_->footer();
    footer.setName(QStringLiteral("Ada Lovelace"));
    footer.setBalance(QStringLiteral("1,234 credits"));
    QCOMPARE(footer.accessibleName(), QStringLiteral("Ada Lovelace"));
    QVERIFY(footer.accessibleDescription().contains(QStringLiteral("1,234 credits")));
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

void TestSidebar::initials_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("two words") << QStringLiteral("ada lovelace") << QStringLiteral("AL");
    QTest::newRow("three words") << QStringLiteral(" Ada  King Lovelace ") << QStringLiteral("AL");
    QTest::newRow("address") << QStringLiteral("you@example.org") << QStringLiteral("Y");
    QTest::newRow("nothing") << QString() << QString();
    QTest::newRow("beyond the basic plane") << QStringLiteral("𝒜da") << QStringLiteral("𝒜");
    QTest::newRow("combining mark") << QStringLiteral("e\u0301mile") << QStringLiteral("E\u0301");
}

void TestSidebar::initials() {
    QFETCH(const QString, name);
    QTEST(Avatar::initials(name), "expected");
}

QTEST_MAIN(TestSidebar)
#include "TestSidebar.moc"
