#include "sidebar/Avatar.h"
#include "sidebar/ChatListView.h"
#include "sidebar/ChatRole.h"
#include "sidebar/SidebarView.h"
#include "theme/Theme.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTest>

#include <functional>
#include <memory>

using namespace teskal;

using ModelChange = std::function<void(QStandardItemModel&)>;
Q_DECLARE_METATYPE(ModelChange)

namespace {

QStandardItem* chat(int number) {
    auto* item = new QStandardItem(QStringLiteral("Chat %1").arg(number));
    item->setData(QStringLiteral("c%1").arg(number), ChatIdRole);
    return item;
}

} // namespace

class TestSidebar : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void clicksChoose();
    void otherButtonsAndDragsDoNotChoose();
    void keysChoose();
    void focusDoesNotChoose();
    void modelChangesDoNotChoose_data();
    void modelChangesDoNotChoose();
    void selectionComesBackWithItsRow();
    void answeringDotIsPainted();
    void emptyHint();
    void buttonsAndAccountMenu();
    void initials_data();
    void initials();

private:
    void click(int row, Qt::MouseButton button = Qt::LeftButton);
    [[nodiscard]] QStringList shownSelection() const;

    std::unique_ptr<Theme> theme_;
    std::unique_ptr<QStandardItemModel> model_;
    std::unique_ptr<SidebarView> sidebar_;
    ChatListView* list_ = nullptr;
};

void TestSidebar::initTestCase() {
    theme_ = std::make_unique<Theme>();
    theme_->install(*qApp);
    theme_->setAppearance(Appearance::Light);
}

void TestSidebar::init() {
    sidebar_.reset();
    model_ = std::make_unique<QStandardItemModel>();
    for (int number = 0; number < 6; ++number)
        model_->appendRow(chat(number));
    sidebar_ = std::make_unique<SidebarView>(*theme_);
    sidebar_->setModel(model_.get());
    list_ = &sidebar_->list();
    sidebar_->resize(268, 600);
    sidebar_->show();
    sidebar_->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(sidebar_.get()));
}

void TestSidebar::click(int row, Qt::MouseButton button) {
    const QPoint place = list_->visualRect(model_->index(row, 0)).center();
    QTest::mouseClick(list_->viewport(), button, {}, place);
}

QStringList TestSidebar::shownSelection() const {
    QStringList ids;
    for (const QModelIndex& index : list_->selectionModel()->selectedIndexes())
        ids.append(index.data(ChatIdRole).toString());
    return ids;
}

void TestSidebar::clicksChoose() {
    QSignalSpy chosen(list_, &ChatListView::chatChosen);
    click(2);
    click(2);
    QCOMPARE(chosen.count(), 1);
    QCOMPARE(chosen.at(0).at(0).toString(), QStringLiteral("c2"));
    QCOMPARE(shownSelection(), QStringList{QStringLiteral("c2")});
    QTest::mouseClick(list_->viewport(), Qt::LeftButton, {}, QPoint(100, 400));
    QVERIFY2(list_->selectedChat() == QStringLiteral("c2"), "a click below the rows changes nothing");
    QCOMPARE(chosen.count(), 1);
}

void TestSidebar::otherButtonsAndDragsDoNotChoose() {
    list_->setSelectedChat(QStringLiteral("c1"));
    QSignalSpy chosen(list_, &ChatListView::chatChosen);
    click(3, Qt::RightButton);
    click(3, Qt::MiddleButton);
    const auto centre = [&](int row) { return list_->visualRect(model_->index(row, 0)).center(); };
    QTest::mousePress(list_->viewport(), Qt::LeftButton, {}, centre(1));
    for (const int row : {2, 3, 4}) {
        QMouseEvent drag(QEvent::MouseMove, centre(row), list_->viewport()->mapToGlobal(centre(row)),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(list_->viewport(), &drag);
    }
    QTest::mouseRelease(list_->viewport(), Qt::LeftButton, {}, centre(4));
    QCOMPARE(chosen.count(), 0);
    QCOMPARE(shownSelection(), QStringList{QStringLiteral("c1")});
}

void TestSidebar::keysChoose() {
    list_->setSelectedChat(QStringLiteral("c1"));
    list_->setFocus();
    QSignalSpy chosen(list_, &ChatListView::chatChosen);
    QTest::keyClick(list_, Qt::Key_Down);
    QTest::keyClick(list_, Qt::Key_End);
    QTest::keyClick(list_, Qt::Key_Down);
    QTest::keyClick(list_, Qt::Key_Up);
    QTest::keyClick(list_, Qt::Key_C);
    QStringList ids;
    for (const QList<QVariant>& call : chosen)
        ids.append(call.at(0).toString());
    QCOMPARE(ids, (QStringList{QStringLiteral("c2"), QStringLiteral("c5"), QStringLiteral("c4")}));
    // Opening no chat keeps the place; Return takes the row again.
    list_->setSelectedChat({});
    QVERIFY(shownSelection().isEmpty());
    QTest::keyClick(list_, Qt::Key_Return);
    QCOMPARE(list_->selectedChat(), QStringLiteral("c4"));
}

void TestSidebar::focusDoesNotChoose() {
    QSignalSpy chosen(list_, &ChatListView::chatChosen);
    for (const Qt::FocusReason reason : {Qt::TabFocusReason, Qt::OtherFocusReason, Qt::ShortcutFocusReason}) {
        list_->clearFocus();
        list_->setFocus(reason);
        QCOMPARE(chosen.count(), 0);
        QVERIFY(list_->selectedChat().isEmpty());
        QVERIFY(shownSelection().isEmpty());
    }
}

void TestSidebar::modelChangesDoNotChoose_data() {
    QTest::addColumn<ModelChange>("change");
    QTest::addColumn<bool>("stillThere");
    const auto row = [](const char* name, bool stillThere, ModelChange change) {
        QTest::newRow(name) << std::move(change) << stillThere;
    };
    row("the selected row goes", false, [](QStandardItemModel& model) { model.removeRow(2); });
    row("the row before goes", true, [](QStandardItemModel& model) { model.removeRow(1); });
    row("a new row comes first", true, [](QStandardItemModel& model) { model.insertRow(0, chat(9)); });
    row("all but the selected go", true, [](QStandardItemModel& model) {
        model.removeRows(3, 3);
        model.removeRows(0, 2);
    });
    row("the order turns round", true, [](QStandardItemModel& model) { model.sort(0, Qt::DescendingOrder); });
    row("its row is taken to the top", true,
        [](QStandardItemModel& model) { model.insertRow(0, model.takeRow(2)); });
    row("everything is loaded anew", true, [](QStandardItemModel& model) {
        model.clear();
        for (int number = 0; number < 6; ++number)
            model.appendRow(chat(number));
    });
    row("everything goes", false, [](QStandardItemModel& model) { model.clear(); });
    row("its title changes", true,
        [](QStandardItemModel& model) { model.item(2)->setText(QStringLiteral("z")); });
}

void TestSidebar::modelChangesDoNotChoose() {
    QFETCH(const ModelChange, change);
    QFETCH(const bool, stillThere);
    const QString selected = QStringLiteral("c2");
    list_->setFocus();
    click(2);
    QSignalSpy chosen(list_, &ChatListView::chatChosen);
    change(*model_);
    QCoreApplication::processEvents();
    QCOMPARE(chosen.count(), 0);
    QCOMPARE(list_->selectedChat(), selected);
    QCOMPARE(shownSelection(), stillThere ? QStringList{selected} : QStringList());
}

void TestSidebar::selectionComesBackWithItsRow() {
    list_->setSelectedChat(QStringLiteral("c7"));
    QVERIFY(shownSelection().isEmpty());
    model_->insertRow(0, chat(7));
    QCOMPARE(shownSelection(), QStringList{QStringLiteral("c7")});
}

void TestSidebar::answeringDotIsPainted() {
    const QRect row = list_->visualRect(model_->index(3, 0));
    const auto accents = [&] {
        const QImage image = list_->viewport()->grab(row).toImage();
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                count += image.pixel(x, y) == theme_->ink().accent.rgb() ? 1 : 0;
        }
        return count;
    };
    QCOMPARE(accents(), 0);
    model_->item(3)->setData(true, ChatAnsweringRole);
    QVERIFY(accents() > 12);
}

void TestSidebar::emptyHint() {
    const auto* hint = sidebar_->findChild<QLabel*>(QStringLiteral("emptyHint"));
    QVERIFY(!hint->isVisible());
    model_->clear();
    QVERIFY(hint->isVisible());
    QCOMPARE(hint->text(), QStringLiteral("Your chats will appear here."));
    model_->appendRow(chat(1));
    QVERIFY(!hint->isVisible());
}

void TestSidebar::buttonsAndAccountMenu() {
    QSignalSpy newChat(sidebar_.get(), &SidebarView::newChatRequested);
    QTest::mouseClick(sidebar_->findChild<QAbstractButton*>(QStringLiteral("sidebarNewChat")),
                      Qt::LeftButton);
    QCOMPARE(newChat.count(), 1);

    sidebar_->setAccountName(QStringLiteral("Ada Lovelace"));
    auto* footer = sidebar_->findChild<QAbstractButton*>(QStringLiteral("accountFooter"));
    QCOMPARE(footer->accessibleName(), QStringLiteral("Ada Lovelace"));
    QSignalSpy signOut(sidebar_.get(), &SidebarView::signOutRequested);
    footer->setFocus(Qt::TabFocusReason);
    QTest::keyClick(footer, Qt::Key_Return);
    auto* menu = footer->findChild<QMenu*>();
    QTRY_VERIFY(menu->isVisible());
    QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Return);
    QTRY_COMPARE(signOut.count(), 1);
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
