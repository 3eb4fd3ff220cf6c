#include "ManualClock.h"
#include "World.h"

#include <QTest>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;

/// What the user can do without an answer: links, notices, selection; and nothing without an account.
class TestAppModel final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void noticesLastThreeAndAHalfSeconds();
    void onlyWebAndMailLinksAreOpened_data();
    void onlyWebAndMailLinksAreOpened();
    void nothingIsSentWithoutAnAccount();
    void selectingTellsThePageOnce();
};

void TestAppModel::noticesLastThreeAndAHalfSeconds() {
    ManualClock clock;
    HttpSession http(clock);
    BrowserSession browser(http);
    FakeKeychain keychain;
    QTemporaryDir folder;
    const Config config = Config::forLocalService(QStringLiteral("http://127.0.0.1:9")).value();
    AppModel model(
        AppServices{config, http, clock, keychain, browser, folder.path(), folder.path(), QString(), {}, {}});
    QStringList toasts;
    connect(&model, &AppModel::toastChanged, this, [&] { toasts.append(model.toast()); });
    model.show(QStringLiteral("one"));
    clock.advance(1s);
    model.show(QStringLiteral("two"));
    clock.advance(3499ms);
    QCOMPARE(toasts, (QStringList{QStringLiteral("one"), QStringLiteral("two")}));
    clock.advance(1ms);
    QCOMPARE(toasts.last(), QString());
    QCOMPARE(toasts.size(), 3);
}

void TestAppModel::onlyWebAndMailLinksAreOpened_data() {
    QTest::addColumn<QString>("link");
    QTest::addColumn<bool>("opened");
    const auto row = [](const char* link, bool opened) {
        QTest::newRow(link) << QString::fromUtf8(link) << opened;
    };
    row("https://example.com/a?b#c", true);
    row("http://example.com", true);
    row("HTTPS://EXAMPLE.COM", true);
    row("mailto:someone@example.com", true);
    row("file:///etc/passwd", false);
    row("javascript:alert(1)", false);
    row("teskal-app://renderer/index.html", false);
    row("app.teskal.mac://callback?code=x", false);
    row("data:text/html,x", false);
    row("//example.com", false);
    row("", false);
}

void TestAppModel::onlyWebAndMailLinksAreOpened() {
    QFETCH(const QString, link);
    QFETCH(const bool, opened);
    static World world;
    world.openedLinks.clear();
    world.page.send({{QStringLiteral("type"), QStringLiteral("openLink")}, {QStringLiteral("url"), link}});
    QCOMPARE(world.openedLinks, opened ? QStringList{link} : QStringList());
}

void TestAppModel::nothingIsSentWithoutAnAccount() {
    World world;
    world.model().setDraft(QStringLiteral("Hello"));
    world.model().sendDraft();
    world.model().send(QStringLiteral("Hello"));
    world.model().retry();
    world.model().stop();
    world.model().copyLastAnswer();
    QCOMPARE(world.model().draft(), QStringLiteral("Hello")); // the words are not lost
    QVERIFY(!world.model().selection());
    QCOMPARE(world.control.requests(chatPath).size(), 0);
    QCOMPARE(world.model().toast(), QString());
}

void TestAppModel::selectingTellsThePageOnce() {
    World world;
    world.signIn();
    const QString chat = world.send(QStringLiteral("Hello"));
    QVERIFY(world.waitForEnd(chat));
    world.model().newChat();
    world.page.takeCalls();
    int selected = 0;
    connect(&world.model(), &AppModel::selectionChanged, this, [&] { ++selected; });
    world.model().select(chat);
    world.model().select(chat);
    QCOMPARE(selected, 1);
    QCOMPARE(world.page.takeCalls().size(), 1);
    world.page.send(
        {{QStringLiteral("type"), QStringLiteral("copy")}, {QStringLiteral("text"), QStringLiteral("x")}});
    QCOMPARE(world.clipboard, QStringLiteral("x"));
}

QTEST_GUILESS_MAIN(TestAppModel)
#include "TestAppModel.moc"
