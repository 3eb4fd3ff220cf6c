#include "Columns.h"
#include "settings/SettingsTabBar.h"
#include "settings/SettingsWindow.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QPushButton>
#include <QSettings>

using namespace teskal::test;

/// The settings window without an application: keys, and what it remembers.
class TestSettings final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { theme_.install(*qApp); }

    void init() {
        window_.reset();
        settings_.clear();
        window_ = std::make_unique<SettingsWindow>(theme_, settings_);
        window_->setSignedIn(true);
        GeneralState state;
        state.signedIn = true;
        state.name = u"Ada"_qs;
        window_->general().setState(state);
        window_->show();
        window_->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window_.get()));
    }

    void tabIsRemembered() {
        auto* const bar = window_->findChild<SettingsTabBar*>();
        QSignalSpy shown(window_.get(), &SettingsWindow::accountShown);
        QTest::mouseClick(bar->findChildren<QAbstractButton*>().at(2), Qt::LeftButton);
        QVERIFY(window_->tab() == SettingsTab::Models);
        QCOMPARE(shown.count(), 1);
        QCOMPARE(settings_.allKeys().size(), 1);
        SettingsWindow next(theme_, settings_);
        QVERIFY(next.tab() == SettingsTab::Models);
        QCOMPARE(settings_.value(settings_.allKeys().first()).toString(), u"models"_qs);
    }

    void keys() {
        QSignalSpy quit(window_.get(), &SettingsWindow::quitRequested);
        QSignalSpy signOut(&window_->general(), &GeneralSettings::signOutRequested);
        auto* const button = window_->findChild<QPushButton*>(u"signOutButton"_qs);
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

private:
    Theme theme_;
    QTemporaryDir folder_;
    QSettings settings_{folder_.filePath(u"s.ini"_qs), QSettings::IniFormat};
    std::unique_ptr<SettingsWindow> window_;
};

QTEST_MAIN(TestSettings)
#include "TestSettings.moc"
