#include "MainWindow.h"
#include "SettingsBinding.h"
#include "SheetBinding.h"
#include "World.h"
#include "controls/SegmentedPicker.h"
#include "controls/Switch.h"
#include "settings/SettingsWindow.h"
#include "sheets/RowList.h"
#include "sheets/SheetFrame.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString settingsPath = QStringLiteral("/api/settings");
const QString keysPath = QStringLiteral("/api/keys");
const QString noSaving = QStringLiteral("Settings can’t be saved on this deployment.");

QJsonObject reply(const QString& path, int status, const QJsonObject& json) {
    return {
        {QStringLiteral("path"), path}, {QStringLiteral("status"), status}, {QStringLiteral("json"), json}};
}

const QJsonObject refusal{{QStringLiteral("error"), QStringLiteral("Not today.")}};

/// The main window and the settings window over the real model and service.
struct Desk {
    explicit Desk(Theme& theme, bool signedIn = true)
        : settings(world.folder.filePath(QStringLiteral("s.ini")), QSettings::IniFormat),
          window(theme, settings), sheets(world.model(), window), binding(world.model(), theme, settings) {
        if (signedIn)
            world.signIn();
        window.setPage(MainWindow::Page::Chats);
        window.show();
    }

    SettingsWindow& show(SettingsTab tab) {
        SettingsWindow& shown = binding.show(tab);
        if (!QTest::qWaitForWindowActive(&shown))
            qFatal("the settings window does not come");
        return shown;
    }

    World world;
    QSettings settings;
    MainWindow window;
    SheetBinding sheets;
    SettingsBinding binding;
};

template<class Widget>
Widget& part(const QWidget& parent, const char* name) {
    auto* found = parent.findChild<Widget*>(QLatin1String(name));
    if (!found)
        qFatal("no %s", name);
    return *found;
}

void click(QWidget& widget) {
    QTest::mouseClick(&widget, Qt::LeftButton);
}

/// The text of the label \a name, empty while it is not seen.
QString seen(const QWidget& parent, const char* name) {
    for (const QLabel* label : parent.findChildren<QLabel*>(QLatin1String(name))) {
        if (label->isVisible())
            return label->text();
    }
    return {};
}

} // namespace

/// What the settings window and the account sheets do, by mouse and keys, at the service.
class TestAccountBinding final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void anonymizing();
    void modelIsSwitchedOff();
    void failures_data();
    void failures();
    void disabledDeployment();
    void signingInAndOut();
    void appearanceStays();
    void deletingAllChats_data();
    void deletingAllChats();
    void keysAreCreatedAndRevoked();
    void noKeyStorage();
    void checkoutOpens();
    void routesAreListed();
    void oneSheetAtATime();

private:
    std::unique_ptr<Theme> theme_;
};

void TestAccountBinding::initTestCase() {
    theme_ = std::make_unique<Theme>();
    theme_->install(*qApp);
}

void TestAccountBinding::anonymizing() {
    Desk desk(*theme_);
    SettingsWindow& window = desk.show(SettingsTab::Privacy);
    auto& anonymize = part<Switch>(window, "anonymizeSwitch");
    QVERIFY(!anonymize.isEnabled());
    QVERIFY(waitUntil([&] { return anonymize.isEnabled(); }));
    QVERIFY(anonymize.isChecked());
    runQueued();
    bool isPriced = false;
    for (const QLabel* label : window.privacy().findChildren<QLabel*>())
        isPriced |=
            label->text().endsWith(QStringLiteral(" as they are. +%1 credits per message.")
                                       .arg(desk.world.model().settings().anonymizeCredits().value_or(-1)));
    QVERIFY(isPriced);
    anonymize.setFocus();
    QTest::keyClick(&anonymize, Qt::Key_Space);
    QVERIFY(!anonymize.isChecked());
    QVERIFY(waitUntil([&] { return desk.world.model().settings().inFlight() == 0; }));
    QVERIFY(!anonymize.isChecked());
    QCOMPARE(desk.world.control.lastRequest(settingsPath)[QLatin1String("json")]
                 .toObject()[QLatin1String("anonymize")],
             QJsonValue(false));
}

void TestAccountBinding::modelIsSwitchedOff() {
    Desk desk(*theme_);
    SettingsWindow& window = desk.show(SettingsTab::Models);
    QCOMPARE(seen(window.models(), "settingsStatus"), QStringLiteral("Loading models…"));
    QVERIFY(waitUntil([&] { return window.models().findChildren<Switch*>().size() == 8; }));
    QCOMPARE(seen(window.models(), "settingsStatus"), QString());
    auto& second = part<Switch>(window, "example/model-two");
    QVERIFY(second.isChecked());
    runQueued(); // it takes its place
    click(second);
    QVERIFY(waitUntil([&] { return desk.world.model().settings().inFlight() == 0; }));
    QVERIFY(!second.isChecked());
    QCOMPARE(desk.world.control.lastRequest(settingsPath)[QLatin1String("json")]
                 .toObject()[QLatin1String("disabledModels")],
             QJsonValue(QJsonArray{QStringLiteral("example/model-two")}));
}

void TestAccountBinding::failures_data() {
    QTest::addColumn<SettingsTab>("tab");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("offline");
    for (const bool offline : {false, true}) {
        const char* const how = offline ? "offline" : "refused";
        QTest::addRow("anonymizing, %s", how)
            << SettingsTab::Privacy << QStringLiteral("anonymizeSwitch") << offline;
        QTest::addRow("a model, %s", how)
            << SettingsTab::Models << QStringLiteral("example/model-two") << offline;
    }
}

void TestAccountBinding::failures() {
    QFETCH(const SettingsTab, tab);
    QFETCH(const QString, name);
    QFETCH(const bool, offline);
    Desk desk(*theme_);
    SettingsWindow& window = desk.show(tab);
    QVERIFY(waitUntil([&] { return desk.world.model().settings().settings().has_value(); }));
    auto& toggle = part<Switch>(window, qPrintable(name));
    QVERIFY(toggle.isChecked());
    desk.world.control.next(
        offline ? QJsonObject{{QStringLiteral("path"), settingsPath}, {QStringLiteral("drop"), true}}
                : reply(settingsPath, 500, refusal));
    click(toggle);
    QVERIFY(!toggle.isChecked());
    QVERIFY(waitUntil([&] { return desk.world.model().settings().inFlight() == 0; }));
    QVERIFY(toggle.isChecked());
    QCOMPARE(seen(window, "settingsStatus"),
             offline ? QStringLiteral("You’re offline. Check your connection and try again.")
                     : QStringLiteral("Not today."));
    click(toggle);
    QCOMPARE(seen(window, "settingsStatus"), QString());
    QVERIFY(waitUntil([&] { return desk.world.model().settings().inFlight() == 0; }));
    QVERIFY(!toggle.isChecked());
}

void TestAccountBinding::disabledDeployment() {
    Desk desk(*theme_);
    desk.world.control.next(
        reply(settingsPath, 200,
              {{QStringLiteral("settings"), QJsonObject{{QStringLiteral("anonymize"), true},
                                                        {QStringLiteral("disabledModels"), QJsonArray()}}},
               {QStringLiteral("models"), QJsonArray()},
               {QStringLiteral("enabled"), false}}));
    SettingsWindow& window = desk.show(SettingsTab::Privacy);
    QCOMPARE(seen(window, "unsavedNote"), QString());
    QVERIFY(waitUntil([&] { return seen(window, "unsavedNote") == noSaving; }));
    auto& anonymize = part<Switch>(window, "anonymizeSwitch");
    QVERIFY(anonymize.isChecked() && !anonymize.isEnabled());
    window.setTab(SettingsTab::Models); // asks again
    QVERIFY(waitUntil([&] { return seen(window, "unsavedNote").isEmpty(); }));
}

void TestAccountBinding::signingInAndOut() {
    Desk desk(*theme_, false);
    QSignalSpy wanted(&desk.binding, &SettingsBinding::mainWindowRequested);
    SettingsWindow& window = desk.show(SettingsTab::Privacy);
    QVERIFY(!window.privacy().isVisible());
    const auto button = [&]() -> QAbstractButton* {
        for (auto* found : window.findChildren<QAbstractButton*>(QStringLiteral("signInButton")))
            if (found->isVisible())
                return found;
        return nullptr;
    };
    QVERIFY(button());
    QCOMPARE(button()->text(), QStringLiteral("Sign In with Passhold"));
    button()->setFocus();
    QTest::keyClick(button(), Qt::Key_Return);
    QCOMPARE(button()->text(), QStringLiteral("Waiting for Passhold…"));
    QVERIFY(!button()->isEnabled());
    QVERIFY(waitUntil([&] { return window.privacy().isVisible(); }));
    QCOMPARE(wanted.count(), 2); // for the provider's page, and for the chats
    QVERIFY(waitUntil([&] { return desk.world.model().settings().settings().has_value(); }));

    window.setTab(SettingsTab::General);
    QCOMPARE(button(), nullptr);
    click(part<QPushButton>(window, "signOutButton"));
    QVERIFY(!desk.world.model().auth().isSignedIn());
    QVERIFY(button());
    runQueued();
    QVERIFY(!part<QPushButton>(window, "deleteAllButton").isEnabled());
    window.setTab(SettingsTab::Models);
    QVERIFY(!window.models().isVisible() && button());
}

void TestAccountBinding::appearanceStays() {
    Desk desk(*theme_);
    SettingsWindow& window = desk.show(SettingsTab::General);
    auto& picker = part<SegmentedPicker>(window, "themePicker");
    QCOMPARE(picker.current(), 0);
    QAbstractButton* const system = picker.findChildren<QAbstractButton*>().first();
    system->setFocus();
    QTest::keyClick(system, Qt::Key_Right);
    QTest::keyClick(window.focusWidget(), Qt::Key_Right);
    QVERIFY(theme_->ink().dark);
    QCOMPARE(desk.settings.value(QStringLiteral("appearance")).toString(), QStringLiteral("dark"));
    Theme another;
    const SettingsBinding next(desk.world.model(), another, desk.settings);
    QVERIFY(another.ink().dark);
    theme_->setAppearance(Appearance::System);
}

void TestAccountBinding::deletingAllChats_data() {
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("left");
    QTest::newRow("Return, which cancels") << int(Qt::Key_Return) << 1;
    QTest::newRow("Escape") << int(Qt::Key_Escape) << 1;
    QTest::newRow("Delete") << 0 << 0;
}

void TestAccountBinding::deletingAllChats() {
    QFETCH(const int, key);
    Desk desk(*theme_);
    QVERIFY(desk.world.waitForEnd(desk.world.send(QStringLiteral("Hello"))));
    SettingsWindow& window = desk.show(SettingsTab::General);
    click(part<QPushButton>(window, "deleteAllButton"));
    auto& question = part<QWidget>(window, "confirmDialog");
    QVERIFY(question.isVisible());
    QCOMPARE(question.accessibleName(), QStringLiteral("Delete all chats everywhere?"));
    const QString message = seen(question, "dialogMessage");
    for (const QString& words : {QStringLiteral("sync with 127.0.0.1"),
                                 QStringLiteral("Deleting them here deletes them everywhere."),
                                 QStringLiteral("This can’t be undone.")})
        QVERIFY2(message.contains(words), qPrintable(message));
    if (key)
        QTest::keyClick(window.focusWidget(), Qt::Key(key));
    else
        click(part<QPushButton>(question, "deleteButton"));
    QVERIFY(!question.isVisible());
    QVERIFY(window.isVisible());
    QTEST(desk.world.model().store().count(), "left");
}

void TestAccountBinding::keysAreCreatedAndRevoked() {
    Desk desk(*theme_);
    AppModel& model = desk.world.model();
    model.setSheet(Sheet::Keys);
    auto& sheet = part<SheetFrame>(desk.window, "keysSheet");
    QVERIFY(waitUntil([&] { return seen(sheet, "noKeys") == QStringLiteral("No keys yet."); }));

    click(part<QPushButton>(sheet, "copySampleButton"));
    QCOMPARE(part<QPushButton>(sheet, "copySampleButton").text(), QStringLiteral("Copied"));
    QVERIFY(desk.world.clipboard.startsWith(
        QStringLiteral("curl %1/v1/chat ")
            .arg(desk.world.service->origin().toString(QUrl::StripTrailingSlash))));

    auto& name = part<QLineEdit>(sheet, "keyNameField");
    name.setFocus();
    QTest::keyClicks(&name, QStringLiteral("production"));
    QTest::keyClick(&name, Qt::Key_Return);
    QVERIFY(!part<QPushButton>(sheet, "createKeyButton").isEnabled());
    QVERIFY(waitUntil([&] { return seen(sheet, "newKeySecret").startsWith(QStringLiteral("tkl_sk_")); }));
    QCOMPARE(name.text(), QString());
    runQueued(); // it takes its place
    click(part<QPushButton>(sheet, "copySecretButton"));
    QCOMPARE(desk.world.clipboard, seen(sheet, "newKeySecret"));
    QVERIFY(waitUntil([&] { return sheet.findChild<QPushButton*>(QStringLiteral("revokeButton")); }));

    desk.world.control.next(reply(keysPath, 500, refusal));
    click(part<QPushButton>(sheet, "revokeButton"));
    QVERIFY(waitUntil([&] { return seen(sheet, "settingsStatus") == QStringLiteral("Not today."); }));
    click(part<QPushButton>(sheet, "revokeButton"));
    QVERIFY(waitUntil([&] { return seen(sheet, "noKeys") == QStringLiteral("No keys yet."); }));
    QCOMPARE(seen(sheet, "settingsStatus"), QString());

    QTest::keyClick(desk.window.focusWidget(), Qt::Key_Escape);
    QVERIFY(!sheet.isVisible());
    QVERIFY(!model.sheet());
    model.setSheet(Sheet::Keys);
    QVERIFY(sheet.isVisible());
    QCOMPARE(seen(sheet, "newKeySecret"), QString());
}

void TestAccountBinding::noKeyStorage() {
    Desk desk(*theme_);
    desk.world.control.next(
        reply(keysPath, 200, {{QStringLiteral("enabled"), false}, {QStringLiteral("keys"), QJsonArray()}}));
    desk.world.model().setSheet(Sheet::Keys);
    auto& sheet = part<SheetFrame>(desk.window, "keysSheet");
    QVERIFY(waitUntil([&] {
        return seen(sheet, "noKeyStorage") ==
               QStringLiteral("Key storage isn’t configured on this deployment.");
    }));
    QVERIFY(!part<QPushButton>(sheet, "createKeyButton").isVisible());
}

void TestAccountBinding::checkoutOpens() {
    Desk desk(*theme_);
    desk.world.model().setSheet(Sheet::Credits);
    auto& sheet = part<SheetFrame>(desk.window, "creditsSheet");
    QVERIFY(waitUntil([&] { return !seen(sheet, "creditsBalance").isEmpty(); }));
    QTest::keyClick(desk.window.focusWidget(), Qt::Key_Return);
    QCOMPARE(seen(sheet, "creditsStatus"), QStringLiteral("Opening checkout…"));
    QVERIFY(waitUntil([&] { return !desk.world.openedLinks.isEmpty(); }));
    QVERIFY(waitUntil(
        [&] { return seen(sheet, "creditsStatus") == QStringLiteral("Checkout opens in your browser."); }));
    click(part<QPushButton>(sheet, "doneButton"));
    QVERIFY(!desk.world.model().sheet());
}

void TestAccountBinding::routesAreListed() {
    Desk desk(*theme_);
    AppModel& model = desk.world.model();
    model.setSheet(Sheet::Routes);
    auto& sheet = part<SheetFrame>(desk.window, "routesSheet");
    QCOMPARE(seen(sheet, "noRoutes"), QStringLiteral("Nothing routed yet. Ask something and come back."));
    QCOMPARE(seen(sheet, "settingsStatus"), QStringLiteral("Loading models…"));
    auto& pool = part<RowList>(sheet, "poolList");
    QVERIFY(waitUntil([&] { return pool.isVisible(); }));
    QCOMPARE(pool.rows().size(), 8);
    QCOMPARE(pool.rows().first(), (SheetRow{QStringLiteral("Model One"), QStringLiteral("Example Lab"),
                                            QStringLiteral("first word in 0.9 s · 0.4 % errors")}));
    QCOMPARE(seen(sheet, "settingsStatus"), QString());

    const QString chat = desk.world.send(QStringLiteral("Hello")); // while the sheet is open
    QVERIFY(desk.world.waitForEnd(chat));
    auto& routes = part<RowList>(sheet, "routeList");
    QVERIFY(routes.isVisible());
    QCOMPARE(seen(sheet, "noRoutes"), QString());
    const QString model1 = desk.world.last(chat).route->member(QStringLiteral("name")).text().value();
    QCOMPARE(routes.rows().size(), 1);
    QCOMPARE(routes.rows().first().title, model1);
    QVERIFY(!routes.rows().first().detail.isEmpty());
}

void TestAccountBinding::oneSheetAtATime() {
    Desk desk(*theme_);
    AppModel& model = desk.world.model();
    model.setSheet(Sheet::Keys);
    model.setSheet(Sheet::Routes);
    auto& keys = part<SheetFrame>(desk.window, "keysSheet");
    auto& routes = part<SheetFrame>(desk.window, "routesSheet");
    QVERIFY(!keys.isVisible() && routes.isVisible());
    model.signOut();
    QVERIFY(!routes.isVisible());
    model.setSheet(Sheet::Keys);
    QVERIFY2(!keys.isVisible(), "nobody is signed in");
}

QTEST_MAIN(TestAccountBinding)
#include "TestAccountBinding.moc"
