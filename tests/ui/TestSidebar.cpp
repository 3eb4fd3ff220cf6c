#include "SidebarTest.h"
#include "sidebar/ChatMime.h"

#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>

#include <functional>

using namespace teskal::test;

using Change = std::function<void(SidebarLibrary&)>;
Q_DECLARE_METATYPE(Change)

namespace {

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

class TestSidebar final : public SidebarTest {
    Q_OBJECT

private Q_SLOTS:
    void clicksChoose() {
        QSignalSpy chosen(list_, &SidebarTree::chatChosen);
        click(chats_[2]);
        click(chats_[2]);
        QCOMPARE(chosen, QList<QVariantList>{{chats_[2]}});
        QCOMPARE(shownMarks(), QStringList{chats_[2]});
        click(rows_->index(1, 0)); // a heading
        click(folderRow());
        click(rows_->chatIndex(chats_[3]), {}, Qt::RightButton);
        click(rows_->chatIndex(chats_[3]), {}, Qt::MiddleButton);
        QTest::mouseClick(list_->viewport(), Qt::LeftButton, {},
                          QPoint(100, list_->viewport()->height() - 5));
        QCOMPARE(chosen.count(), 1);
        QCOMPARE(list_->selectedChat(), chats_[2]);
        // The selection is told by its id, and comes with its row.
        list_->setSelectedChat(u"c7"_qs);
        QVERIFY(shownMarks().isEmpty());
        QCOMPARE(library_->add(u"New"_qs), u"c7"_qs);
        QCOMPARE(shownMarks(), QStringList{u"c7"_qs});
        QCOMPARE(chosen.count(), 1);
    }

    void keysChoose() {
        list_->setSelectedChat(chats_[1]);
        list_->setFocus();
        QSignalSpy chosen(list_, &SidebarTree::chatChosen);
        QSignalSpy opened(list_, &SidebarTree::chatOpened);
        press({Qt::Key_Down, Qt::Key_End, Qt::Key_Down, Qt::Key_Up});
        QStringList ids;
        for (const QList<QVariant>& call : chosen)
            ids.append(call.at(0).toString());
        QCOMPARE(ids, (QStringList{chats_[2], chats_[4], chats_[3]}));
        // Up from the first chat of the day: the heading is passed over.
        click(chats_[0]);
        press({Qt::Key_Up});
        QCOMPARE(list_->selectedChat(), filed_);
        press({Qt::Key_Up});
        QCOMPARE(list_->currentIndex(), folderRow());
        QCOMPARE(list_->selectedChat(), filed_);
        press({Qt::Key_Down});
        // Opening no chat keeps the place; Return takes the row again.
        list_->setSelectedChat({});
        press({Qt::Key_Return});
        QCOMPARE(list_->selectedChat(), filed_);
        QCOMPARE(opened.count(), 1);
    }

    void focusDoesNotChoose() {
        QSignalSpy chosen(list_, &SidebarTree::chatChosen);
        for (const Qt::FocusReason reason :
             {Qt::TabFocusReason, Qt::OtherFocusReason, Qt::ShortcutFocusReason}) {
            list_->clearFocus();
            list_->setFocus(reason);
            QCOMPARE(chosen.count(), 0);
            QVERIFY(shownMarks().isEmpty());
        }
    }

    void changesDoNotChoose_data() {
        const auto row = columns<bool, Change>("stillThere", "change");
        const auto id = [](int number) { return u"c%1"_qs.arg(number); };
        row("the selected goes", false, [id](SidebarLibrary& library) { library.store.remove(id(3)); });
        row("the one before goes", true, [id](SidebarLibrary& library) { library.store.remove(id(2)); });
        row("a new one comes first", true, [](SidebarLibrary& library) { library.store.create(u"New"_qs); });
        row("all but the selected go", true, [id](SidebarLibrary& library) {
            for (const int number : {1, 2, 4, 5, 6})
                library.store.remove(id(number));
        });
        row("it moves to the top", true,
            [id](SidebarLibrary& library) { library.store.rename(id(3), u"z"_qs); });
        row("it is filed", true, [id](SidebarLibrary& library) {
            library.folders.assign({id(3)}, library.folders.folders().constFirst().id);
        });
        row("midnight", true, [](SidebarLibrary& library) { library.clock.advance(std::chrono::hours(24)); });
        row("a search finds it", true, [](SidebarLibrary& library) { QVERIFY(library.look(u"chat"_qs)); });
        row("a search does not find it", false,
            [](SidebarLibrary& library) { QVERIFY(library.look(u"tea"_qs)); });
        row("everything goes", false, [](SidebarLibrary& library) { library.store.claim(std::nullopt); });
    }

    void changesDoNotChoose() {
        FETCH(bool, stillThere, Change, change);
        const QString selected = u"c3"_qs;
        list_->setFocus();
        click(selected);
        QSignalSpy chosen(list_, &SidebarTree::chatChosen);
        change(*library_);
        QCoreApplication::processEvents();
        QCOMPARE(chosen.count(), 0);
        QCOMPARE(list_->selectedChat(), selected);
        QCOMPARE(shownMarks(), stillThere ? QStringList{selected} : QStringList());
    }

    void severalChats() {
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

    void foldersOpenAndClose() {
        QSignalSpy toggled(list_, &SidebarTree::folderToggled);
        const auto last = [&toggled] { return toggled.constLast().at(1).toBool(); };
        click(folderRow());
        QVERIFY(!list_->isExpanded(folderRow()) && !last());
        QCOMPARE(toggled.at(0).at(0).toString(), folder_);
        list_->setFocus();
        press({Qt::Key_Right});
        QVERIFY(list_->isExpanded(folderRow()) && last());
        press({Qt::Key_Down, Qt::Key_Left, Qt::Key_Left}); // to the chat in it, and out of it
        QVERIFY(!list_->isExpanded(folderRow()));
        press({Qt::Key_Return, Qt::Key_Right}); // it is open already
        QVERIFY(list_->isExpanded(folderRow()));
        QCOMPARE(toggled.count(), 4);
        rows_->setCollapsed({folder_});
        QVERIFY(!list_->isExpanded(folderRow()));
        QCOMPARE(toggled.count(), 4);
    }

    void drops_data() {
        // dragged: indexes into the chats; "filed" for the one in the folder
        const auto row = columns<QString, QString, bool, bool>("dragged", "onto", "taken", "intoFolder");
        row("two on a folder", "1 2", "folder", true, true);
        row("on what is in it", "1 2", "filed", true, true);
        row("out of it onto a chat", "filed", "0", true, false);
        row("out of it onto nothing", "filed", "below", true, false);
        row("where it is", "filed", "folder", false, false);
        row("where they are", "1 2", "below", false, false);
        row("one of them is there", "1 2 filed", "folder", true, true);
        row("no chats", "", "folder", false, false);
    }

    void drops() {
        FETCH(QString, dragged, QString, onto, bool, taken, bool, intoFolder);
        const auto chat = [&](const QString& name) {
            return name == u"filed"_qs ? filed_ : chats_[name.toInt()];
        };
        QStringList ids;
        for (const QString& name : dragged.split(u' ', Qt::SkipEmptyParts))
            ids.append(chat(name));
        QPoint place(100, list_->viewport()->height() - 40);
        if (onto == u"folder"_qs)
            place = placeOf(folderRow());
        else if (onto != u"below"_qs)
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
        QCOMPARE(list_->viewport()->grab().toImage(), before);
        QCOMPARE(filing.count(), taken ? 1 : 0);
        if (!taken)
            return;
        QCOMPARE(filing.at(0).at(0).toStringList(), ids);
        QCOMPARE(filing.at(0).at(1).value<std::optional<QString>>(),
                 intoFolder ? std::optional(folder_) : std::nullopt);
    }

    void dragsCarryThePrivateTypeOnly() {
        const std::unique_ptr<QMimeData> data(ChatMime::of(chats_));
        QCOMPARE(data->formats(), QStringList{u"application/x-teskal-chats"_qs});
        QVERIFY(!data->hasText() && !data->hasUrls());
        QCOMPARE(ChatMime::chatsOf(*data), chats_);
    }

    void renameInPlace_data() {
        const auto row = columns<bool, QString, Qt::Key, QString>("folder", "typed", "key", "name");
        row("chat", false, " New ", Qt::Key_Return, "New");
        row("folder", true, "New", Qt::Key_Return, "New");
        row("tab", false, "New", Qt::Key_Tab, "New");
        row("escape", false, "New", Qt::Key_Escape);
        row("blank", false, "  ", Qt::Key_Return);
        row("the same", false, "Chat 1", Qt::Key_Return);
    }

    void renameInPlace() {
        FETCH(bool, folder, QString, typed, Qt::Key, key, QString, name);
        list_->setFocus();
        list_->selectionModel()->setCurrentIndex(folder ? folderRow() : rows_->chatIndex(chats_[1]),
                                                 QItemSelectionModel::NoUpdate);
        QSignalSpy renamed(list_, folder ? &SidebarTree::folderRenamed : &SidebarTree::chatRenamed);
        press({Qt::Key_F2});
        auto* field = list_->findChild<QLineEdit*>(u"renameField"_qs);
        QVERIFY(field && field->hasFocus());
        QCOMPARE(field->selectedText(), folder ? u"Work"_qs : u"Chat 1"_qs);
        QTest::keyClicks(field, typed);
        QTest::keyClick(field, key);
        QTRY_COMPARE(list_->findChildren<QLineEdit*>().size(), 0);
        const QVariantList renaming{folder ? folder_ : chats_[1], name};
        QCOMPARE(renamed, name.isEmpty() ? QList<QVariantList>() : QList<QVariantList>{renaming});
    }

    void deleteKey() {
        QSignalSpy chats(list_, &SidebarTree::deleteChatsRequested);
        QSignalSpy folders(list_, &SidebarTree::deleteFolderRequested);
        list_->setFocus();
        click(chats_[1]);
        press({Qt::Key_Delete});
        click(chats_[3], Qt::ShiftModifier);
        press({Qt::Key_Delete});
        click(folderRow());
        press({Qt::Key_Delete});
        QCOMPARE(chats, (QList<QVariantList>{{QStringList{chats_[1]}}, {chats_.mid(1, 3)}}));
        QCOMPARE(folders, QList<QVariantList>{{folder_}});
    }

    void typingSearches() {
        auto* field = sidebar_->findChild<QLineEdit*>(u"sidebarSearch"_qs);
        connect(sidebar_.get(), &SidebarView::searchChanged, &library_->search, &ChatSearch::search);
        QSignalSpy opened(sidebar_.get(), &SidebarView::searchOpened);
        list_->setFocus();
        press({Qt::Key_T});
        QTest::keyClicks(QApplication::focusWidget(), u"ea"_qs);
        QCOMPARE(field->text(), u"tea"_qs);
        QVERIFY(opened.count() > 0);
        QTRY_COMPARE(linesOf(*rows_), (QStringList{u"Work"_qs, u"  Filed"_qs}));
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(list_->selectedChat(), filed_);
        QTest::keyClick(field, Qt::Key_Down);
        QVERIFY(list_->hasFocus());
        press({Qt::Key_Escape});
        QVERIFY(field->text().isEmpty());
        QTRY_COMPARE(rows_->rowCount(), 2);
        sidebar_->focusSearch();
        QTest::keyClicks(field, u"x"_qs);
        QTest::keyClick(field, Qt::Key_Escape);
        QVERIFY(field->text().isEmpty() && field->hasFocus());
        QTest::keyClick(field, Qt::Key_Escape);
        QVERIFY(list_->hasFocus());
        sidebar_->setHint(u"No chats match “<b>x”"_qs);
        const auto* hint = sidebar_->findChild<QLabel*>(u"emptyHint"_qs);
        QVERIFY(hint->isVisible() && hint->textFormat() == Qt::PlainText);
    }

    void onlyItsOwnRowIsPainted() {
        QCoreApplication::processEvents();
        Paints paints(*list_->viewport());
        const auto grow = [](ChatMessage& message) { message.content += u" word"_qs; };
        for (int update = 0; update < 20; ++update) {
            library_->store.updateMessage(chats_[2], u"m"_qs, ChatStore::Touch::No, ChatStore::Save::No,
                                          grow);
            QCoreApplication::processEvents();
        }
        QCOMPARE(paints.count, 0);
        const auto accents = [this] {
            const QImage row =
                list_->viewport()->grab(list_->visualRect(rows_->chatIndex(chats_[2]))).toImage();
            int count = 0;
            for (int y = 0; y < row.height(); ++y)
                for (int x = 0; x < row.width(); ++x)
                    count += row.pixel(x, y) == theme_.ink().accent.rgb() ? 1 : 0;
            return count;
        };
        QCOMPARE(accents(), 0);
        library_->answering.insert(chats_[2]);
        rows_->updateAnswering(chats_[2]);
        QVERIFY(accents() > 12);
    }

    void rowsInTheAccessibilityTree() {
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
        QVERIFY(items.contains(u"Chat 0, answering"_qs) && items.contains(u"Filed"_qs));
        const QAccessibleInterface* folder = items.value(u"Work"_qs);
        QVERIFY(folder && folder->state().expandable && folder->state().expanded);
        click(folderRow());
        QVERIFY(!folder->state().expanded);
    }

private:
    void press(std::initializer_list<Qt::Key> keys) {
        for (const Qt::Key key : keys)
            QTest::keyClick(list_, key);
    }
};

QTEST_MAIN(TestSidebar)
#include "TestSidebar.moc"
