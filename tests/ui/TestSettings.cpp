#include "controls/Switch.h"
#include "settings/SettingsTabBar.h"
#include "settings/SettingsWindow.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace teskal;

namespace {

QStringList textsIn(const QWidget& widget) {
    QStringList texts;
    for (const QLabel* label : widget.findChildren<QLabel*>()) {
        if (label->isVisible())
            texts.append(label->text());
    }
    for (const QAbstractButton* button : widget.findChildren<QAbstractButton*>()) {
        if (button->isVisible())
            texts.append(button->text());
    }
    return texts;
}

ModelsState twoModels() {
    ModelsState state;
    state.models = {{QStringLiteral("one"), QStringLiteral("Model One"), QStringLiteral("A lab"), true},
                    {QStringLiteral("two"), QStringLiteral("Model Two"), {}, false}};
    state.known = true;
    return state;
}

} // namespace

/// The settings window without an application: what it says in each state, keys, and what it remembers.
class TestSettings final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void texts_data();
    void texts();
    void rowsStayWhenTheirStatesChange();
    void tabIsRemembered();
    void keys();

private:
    Theme theme_;
    QTemporaryDir folder_;
    std::unique_ptr<QSettings> settings_;
    std::unique_ptr<SettingsWindow> window_;
};

void TestSettings::initTestCase() {
    theme_.install(*qApp);
}

void TestSettings::init() {
    window_.reset();
    settings_ = std::make_unique<QSettings>(folder_.filePath(QStringLiteral("s.ini")), QSettings::IniFormat);
    settings_->clear();
    window_ = std::make_unique<SettingsWindow>(theme_, *settings_);
    window_->setSignedIn(true);
    GeneralState state;
    state.signedIn = true;
    state.name = QStringLiteral("Ada");
    window_->general().setState(state);
    window_->show();
    window_->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window_.get()));
}

void TestSettings::texts_data() {
    QTest::addColumn<SettingsTab>("tab");
    QTest::addColumn<bool>("signedIn");
    QTest::addColumn<QStringList>("texts");
    QTest::newRow("general") << SettingsTab::General << true
                             << QStringList{QStringLiteral("Appearance"),
                                            QStringLiteral("Theme"),
                                            QStringLiteral("Account"),
                                            QStringLiteral("Signed in as"),
                                            QStringLiteral("Ada"),
                                            QStringLiteral("Sign Out"),
                                            QStringLiteral("Data"),
                                            QStringLiteral("Chats are kept on this Mac"),
                                            QStringLiteral("Show in Finder"),
                                            QStringLiteral("Delete All Chats…")};
    QTest::newRow("general, nobody") << SettingsTab::General << false
                                     << QStringList{QStringLiteral("Sign In with Passhold")};
    QTest::newRow("privacy")
        << SettingsTab::Privacy << true
        << QStringList{
               QStringLiteral("how Teskal handles your messages"),
               QStringLiteral("Anonymize what models see"), QStringLiteral("Private chats"),
               QStringLiteral("A private chat isn’t saved on this Mac or synced, and its files and results "
                              "aren’t stored. It disappears when you leave it."),
               QStringLiteral(
                   "Your chats are encrypted when Teskal stores them. Language models never keep or "
                   "train on your messages, and they see a private ID instead of your account.")};
    QTest::newRow("models")
        << SettingsTab::Models << true
        << QStringList{
               QStringLiteral("which models Teskal uses"),
               QStringLiteral("Teskal only routes to models that are on, including the small helper models "
                              "that route and summarise chats. Voice input and read aloud use OpenAI; web "
                              "searches use Perplexity.")};
    const QStringList prompt{QStringLiteral("Sign in to choose"), QStringLiteral("Sign In with Passhold")};
    QTest::newRow("privacy, nobody") << SettingsTab::Privacy << false
                                     << prompt +
                                            QStringList{QStringLiteral("how Teskal handles your messages")};
    QTest::newRow("models, nobody") << SettingsTab::Models << false
                                    << prompt + QStringList{QStringLiteral("which models Teskal uses")};
}

void TestSettings::texts() {
    QFETCH(const SettingsTab, tab);
    QFETCH(const bool, signedIn);
    QFETCH(const QStringList, texts);
    if (!signedIn)
        window_->general().setState({});
    window_->setSignedIn(signedIn);
    window_->setTab(tab);
    const QStringList shown = textsIn(*window_);
    for (const QString& text : texts)
        QVERIFY2(shown.contains(text), qPrintable(text));
    QCOMPARE(shown.contains(QStringLiteral("Sign In with Passhold")), !signedIn);
}

void TestSettings::rowsStayWhenTheirStatesChange() {
    QSignalSpy wanted(&window_->models(), &ModelSettings::switchRequested);
    window_->setTab(SettingsTab::Models);
    window_->models().setState(twoModels());
    auto* const second = window_->findChild<Switch*>(QStringLiteral("two"));
    second->setFocus();
    QTest::keyClick(second, Qt::Key_Return);
    QCOMPARE(wanted.takeFirst(), (QVariantList{QStringLiteral("two"), true}));
    ModelsState failed = twoModels(); // the choice was taken back
    failed.error = QStringLiteral("Not today.");
    window_->models().setState(failed);
    QVERIFY(!second->isChecked());
    QVERIFY(second->hasFocus());
}

void TestSettings::tabIsRemembered() {
    auto* const bar = window_->findChild<SettingsTabBar*>();
    QSignalSpy shown(window_.get(), &SettingsWindow::accountShown);
    QTest::mouseClick(bar->findChildren<QAbstractButton*>().at(2), Qt::LeftButton);
    QVERIFY(window_->tab() == SettingsTab::Models);
    QCOMPARE(shown.count(), 1);
    QCOMPARE(settings_->allKeys().size(), 1);
    SettingsWindow next(theme_, *settings_);
    QVERIFY(next.tab() == SettingsTab::Models);
    QCOMPARE(settings_->value(settings_->allKeys().first()).toString(), QStringLiteral("models"));
}

void TestSettings::keys() {
    QSignalSpy quit(window_.get(), &SettingsWindow::quitRequested);
    QSignalSpy signOut(&window_->general(), &GeneralSettings::signOutRequested);
    auto* const button = window_->findChild<QPushButton*>(QStringLiteral("signOutButton"));
    button->setFocus();
    QTest::keyClick(button, Qt::Key_Return);
    QCOMPARE(signOut.count(), 1);
    QTest::keyClick(window_.get(), Qt::Key_Q, Qt::ControlModifier);
    QCOMPARE(quit.count(), 1);
    QTest::keyClick(window_.get(), Qt::Key_W, Qt::ControlModifier);
    QVERIFY(!window_->isVisible());
    window_->show();
    window_->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window_.get()));
    QTest::keyClick(window_.get(), Qt::Key_Escape);
    QVERIFY(!window_->isVisible());
}

QTEST_MAIN(TestSettings)
#include "TestSettings.moc"
