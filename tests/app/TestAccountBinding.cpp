#include "Columns.h"
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

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>

using namespace teskal::test;

namespace {

const QString settingsPath = u"/api/settings"_qs;
const QString keysPath = u"/api/keys"_qs;
const QString noSaving = u"Settings can’t be saved on this deployment."_qs;

QJsonObject reply(const QString& path, int status, const QJsonObject& json) {
    return {{u"path"_qs, path}, {u"status"_qs, status}, {u"json"_qs, json}};
}

const QJsonObject refusal{{u"error"_qs, u"Not today."_qs}};

/// The main window and the settings window over the real model and service.
struct Desk {
    explicit Desk(Theme& theme, bool signedIn = true)
        : settings(world.folder.filePath(u"s.ini"_qs), QSettings::IniFormat), window(theme, settings),
          sheets(world.model(), window), binding(world.model(), theme, settings) {
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
    for (const QLabel* label : parent.findChildren<QLabel*>(QLatin1String(name)))
        if (label->isVisible())
            return label->text();
    return {};
}

} // namespace

/// What the settings window and the account sheets do, by mouse and keys, at the service.
class TestAccountBinding final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { theme_.install(*qApp); }

    void anonymizing() {
        Desk desk(theme_);
        SettingsWindow& window = desk.show(SettingsTab::Privacy);
        auto& anonymize = part<Switch>(window, "anonymizeSwitch");
        QVERIFY(!anonymize.isEnabled());
        QVERIFY(waitUntil([&] { return anonymize.isEnabled(); }));
        QVERIFY(anonymize.isChecked());
        runQueued();
        bool isPriced = false;
        for (const QLabel* label : window.privacy().findChildren<QLabel*>())
            isPriced |= label->text().endsWith(u" as they are. +%1 credits per message."_qs.arg(
                desk.world.model().settings().anonymizeCredits().value_or(-1)));
        QVERIFY(isPriced);
        anonymize.setFocus();
        QTest::keyClick(&anonymize, Qt::Key_Space);
        QVERIFY(!anonymize.isChecked());
        QVERIFY(waitUntil([&] { return desk.world.model().settings().inFlight() == 0; }));
        QVERIFY(!anonymize.isChecked());
        QCOMPARE(desk.world.control.lastRequest(settingsPath)[u"json"].toObject()[u"anonymize"],
                 QJsonValue(false));
    }

    void modelIsSwitchedOff() {
        Desk desk(theme_);
        SettingsWindow& window = desk.show(SettingsTab::Models);
        QCOMPARE(seen(window.models(), "settingsStatus"), u"Loading models…"_qs);
        QVERIFY(waitUntil([&] { return window.models().findChildren<Switch*>().size() == 8; }));
        QCOMPARE(seen(window.models(), "settingsStatus"), QString());
        auto& second = part<Switch>(window, "example/model-two");
        QVERIFY(second.isChecked());
        runQueued(); // it takes its place
        click(second);
        QVERIFY(waitUntil([&] { return desk.world.model().settings().inFlight() == 0; }));
        QVERIFY(!second.isChecked());
        QCOMPARE(desk.world.control.lastRequest(settingsPath)[u"json"].toObject()[u"disabledModels"],
                 QJsonValue(QJsonArray{u"example/model-two"_qs}));
    }

    void failures_data() {
        const auto row = columns<SettingsTab, QString, bool>("tab", "name", "offline");
        row("anonymizing, refused", SettingsTab::Privacy, "anonymizeSwitch", false);
        row("a model, offline", SettingsTab::Models, "example/model-two", true);
    }

    void failures() {
        FETCH(SettingsTab, tab, QString, name, bool, offline);
        Desk desk(theme_);
        SettingsWindow& window = desk.show(tab);
        QVERIFY(waitUntil([&] { return desk.world.model().settings().settings().has_value(); }));
        auto& toggle = part<Switch>(window, qPrintable(name));
        QVERIFY(toggle.isChecked());
        desk.world.control.next(offline ? QJsonObject{{u"path"_qs, settingsPath}, {u"drop"_qs, true}}
                                        : reply(settingsPath, 500, refusal));
        toggle.setFocus();
        QTest::keyClick(&toggle, Qt::Key_Return);
        QVERIFY(!toggle.isChecked());
        QVERIFY(waitUntil([&] { return desk.world.model().settings().inFlight() == 0; }));
        QVERIFY2(toggle.isChecked() && toggle.hasFocus(), "the row stays, and its choice is taken back");
        QCOMPARE(seen(window, "settingsStatus"),
                 offline ? u"You’re offline. Check your connection and try again."_qs : u"Not today."_qs);
        click(toggle);
        QCOMPARE(seen(window, "settingsStatus"), QString());
        QVERIFY(waitUntil([&] { return desk.world.model().settings().inFlight() == 0; }));
        QVERIFY(!toggle.isChecked());
    }

    void disabledDeployment() {
        Desk desk(theme_);
        desk.world.control.next(reply(
            settingsPath, 200,
            {{u"settings"_qs, QJsonObject{{u"anonymize"_qs, true}, {u"disabledModels"_qs, QJsonArray()}}},
             {u"models"_qs, QJsonArray()},
             {u"enabled"_qs, false}}));
        SettingsWindow& window = desk.show(SettingsTab::Privacy);
        QCOMPARE(seen(window, "unsavedNote"), QString());
        QVERIFY(waitUntil([&] { return seen(window, "unsavedNote") == noSaving; }));
        auto& anonymize = part<Switch>(window, "anonymizeSwitch");
        QVERIFY(anonymize.isChecked() && !anonymize.isEnabled());
        window.setTab(SettingsTab::Models); // asks again
        QVERIFY(waitUntil([&] { return seen(window, "unsavedNote").isEmpty(); }));
    }

    void signingInAndOut() {
        Desk desk(theme_, false);
        QSignalSpy wanted(&desk.binding, &SettingsBinding::mainWindowRequested);
        SettingsWindow& window = desk.show(SettingsTab::Privacy);
        QVERIFY(!window.privacy().isVisible());
        const auto button = [&]() -> QAbstractButton* {
            for (auto* found : window.findChildren<QAbstractButton*>(u"signInButton"_qs))
                if (found->isVisible())
                    return found;
            return nullptr;
        };
        QVERIFY(button());
        QCOMPARE(button()->text(), u"Sign In with Passhold"_qs);
        button()->setFocus();
        QTest::keyClick(button(), Qt::Key_Return);
        QCOMPARE(button()->text(), u"Waiting for Passhold…"_qs);
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

    void appearanceStays() {
        Desk desk(theme_);
        SettingsWindow& window = desk.show(SettingsTab::General);
        auto& picker = part<SegmentedPicker>(window, "themePicker");
        QCOMPARE(picker.current(), 0);
        QAbstractButton* const system = picker.findChildren<QAbstractButton*>().first();
        system->setFocus();
        QTest::keyClick(system, Qt::Key_Right);
        QTest::keyClick(window.focusWidget(), Qt::Key_Right);
        QVERIFY(theme_.ink().dark);
        QCOMPARE(desk.settings.value(u"appearance"_qs).toString(), u"dark"_qs);
        Theme another;
        const SettingsBinding next(desk.world.model(), another, desk.settings);
        QVERIFY(another.ink().dark);
        theme_.setAppearance(Appearance::System);
    }

    void deletingAllChats() {
        Desk desk(theme_);
        const ChatStore& store = desk.world.model().store();
        desk.world.ask(u"Hello"_qs);
        SettingsWindow& window = desk.show(SettingsTab::General);
        for (const bool cancels : {true, false}) {
            click(part<QPushButton>(window, "deleteAllButton"));
            auto& question = part<QWidget>(window, "confirmDialog");
            QVERIFY(question.isVisible());
            QCOMPARE(question.accessibleName(), u"Delete all chats everywhere?"_qs);
            const QString message = seen(question, "dialogMessage");
            for (const QString& words :
                 {u"sync with 127.0.0.1"_qs, u"Deleting them here deletes them everywhere."_qs,
                  u"This can’t be undone."_qs})
                QVERIFY2(message.contains(words), qPrintable(message));
            if (cancels)
                QTest::keyClick(window.focusWidget(), Qt::Key_Escape);
            else
                click(part<QPushButton>(question, "deleteButton"));
            QVERIFY(!question.isVisible() && window.isVisible());
            QCOMPARE(store.count(), cancels ? 1 : 0);
            runQueued(); // the dialog goes
        }
    }

    void keysAreCreatedAndRevoked() {
        Desk desk(theme_);
        AppModel& model = desk.world.model();
        model.setSheet(Sheet::Keys);
        auto& sheet = part<SheetFrame>(desk.window, "keysSheet");
        QVERIFY(waitUntil([&] { return seen(sheet, "noKeys") == u"No keys yet."_qs; }));

        click(part<QPushButton>(sheet, "copySampleButton"));
        QCOMPARE(part<QPushButton>(sheet, "copySampleButton").text(), u"Copied"_qs);
        QVERIFY(desk.world.clipboard.startsWith(
            u"curl %1/v1/chat "_qs.arg(desk.world.service->origin().toString(QUrl::StripTrailingSlash))));

        auto& name = part<QLineEdit>(sheet, "keyNameField");
        name.setFocus();
        QTest::keyClicks(&name, u"production"_qs);
        desk.world.control.next(reply(keysPath, 500, refusal));
        QTest::keyClick(&name, Qt::Key_Return);
        QVERIFY(waitUntil([&] { return seen(sheet, "settingsStatus") == u"Not today."_qs; }));
        QTest::keyClick(&name, Qt::Key_Return);
        QVERIFY(!part<QPushButton>(sheet, "createKeyButton").isEnabled());
        QVERIFY(waitUntil([&] { return seen(sheet, "newKeySecret").startsWith(u"tkl_sk_"_qs); }));
        QCOMPARE(name.text(), QString());
        runQueued(); // it takes its place
        click(part<QPushButton>(sheet, "copySecretButton"));
        QCOMPARE(desk.world.clipboard, seen(sheet, "newKeySecret"));
        QVERIFY(waitUntil([&] { return sheet.findChild<QPushButton*>(u"revokeButton"_qs); }));

        desk.world.control.next(reply(keysPath, 500, refusal));
        click(part<QPushButton>(sheet, "revokeButton"));
        QVERIFY(waitUntil([&] { return seen(sheet, "settingsStatus") == u"Not today."_qs; }));
        click(part<QPushButton>(sheet, "revokeButton"));
        QVERIFY(waitUntil([&] { return seen(sheet, "noKeys") == u"No keys yet."_qs; }));
        QCOMPARE(seen(sheet, "settingsStatus"), QString());

        QTest::keyClick(desk.window.focusWidget(), Qt::Key_Escape);
        QVERIFY(!sheet.isVisible() && !model.sheet());
        model.setSheet(Sheet::Keys);
        QVERIFY(sheet.isVisible());
        QCOMPARE(seen(sheet, "newKeySecret"), QString());
    }

    void noKeyStorage() {
        Desk desk(theme_);
        desk.world.control.next(reply(keysPath, 200, {{u"enabled"_qs, false}, {u"keys"_qs, QJsonArray()}}));
        desk.world.model().setSheet(Sheet::Keys);
        auto& sheet = part<SheetFrame>(desk.window, "keysSheet");
        QVERIFY(waitUntil([&] {
            return seen(sheet, "noKeyStorage") == u"Key storage isn’t configured on this deployment."_qs;
        }));
        QVERIFY(!part<QPushButton>(sheet, "createKeyButton").isVisible());
    }

    void checkoutOpens() {
        Desk desk(theme_);
        QVERIFY(waitUntil([&] { return desk.world.model().balance().billing().has_value(); }));
        desk.world.control.next(reply(u"/api/billing"_qs, 500, refusal));
        desk.world.model().setSheet(Sheet::Credits);
        auto& sheet = part<SheetFrame>(desk.window, "creditsSheet");
        QVERIFY(waitUntil([&] { return seen(sheet, "creditsStatus") == u"Not today."_qs; }));
        QVERIFY(!seen(sheet, "creditsBalance").isEmpty());
        QTest::keyClick(desk.window.focusWidget(), Qt::Key_Return);
        QCOMPARE(seen(sheet, "creditsStatus"), u"Opening checkout…"_qs);
        QVERIFY(waitUntil([&] { return !desk.world.openedLinks.isEmpty(); }));
        QVERIFY(
            waitUntil([&] { return seen(sheet, "creditsStatus") == u"Checkout opens in your browser."_qs; }));
        click(part<QPushButton>(sheet, "doneButton"));
        QVERIFY(!desk.world.model().sheet());
    }

    void routesAreListed() {
        Desk desk(theme_);
        AppModel& model = desk.world.model();
        desk.world.control.next(reply(u"/api/routes"_qs, 500, refusal));
        model.setSheet(Sheet::Routes);
        auto& sheet = part<SheetFrame>(desk.window, "routesSheet");
        QCOMPARE(seen(sheet, "noRoutes"), u"Nothing routed yet. Ask something and come back."_qs);
        QCOMPARE(seen(sheet, "settingsStatus"), u"Loading models…"_qs);
        QVERIFY(waitUntil([&] { return seen(sheet, "settingsStatus") == u"Not today."_qs; }));
        model.setSheet(std::nullopt);
        model.setSheet(Sheet::Routes); // asks again
        auto& pool = part<RowList>(sheet, "poolList");
        QVERIFY(waitUntil([&] { return pool.isVisible(); }));
        QCOMPARE(pool.rows().size(), 8);
        QCOMPARE(pool.rows().first(),
                 (SheetRow{u"Model One"_qs, u"Example Lab"_qs, u"first word in 0.9 s · 0.4 % errors"_qs}));
        QCOMPARE(seen(sheet, "settingsStatus"), QString());

        const QString chat = desk.world.ask(u"Hello"_qs); // while the sheet is open
        auto& routes = part<RowList>(sheet, "routeList");
        QVERIFY(routes.isVisible());
        QCOMPARE(seen(sheet, "noRoutes"), QString());
        const QString model1 = desk.world.last(chat).route->member(u"name"_qs).text().value();
        QCOMPARE(routes.rows().size(), 1);
        QCOMPARE(routes.rows().first().title, model1);
        QVERIFY(!routes.rows().first().detail.isEmpty());
    }

    void oneSheetAtATime() {
        Desk desk(theme_);
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

private:
    Theme theme_;
};

QTEST_MAIN(TestAccountBinding)
#include "TestAccountBinding.moc"
