#pragma once

#include "Columns.h"
#include "EngineEnvironment.h"
#include "EngineParts.h"
#include "MainWindow.h"
#include "ServiceControl.h"
#include "TeskalApp.h"
#include "TranscriptPane.h"
#include "WaitUntil.h"
#include "chat/DetailView.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDialog>
#include <QWebEngineView>

#include <csignal>

namespace teskal::test {

inline const QString chatPath = u"/api/chat"_qs;

/// The whole application over the local service, with its real window and the real engine, for all tests of a
/// class.
class AppJourney : public QObject {
    Q_OBJECT

protected:
    explicit AppJourney(const QStringList& serviceArguments = {}) : service_(serviceArguments) {}

    /// Starts it, with its window and the page in it.
    void launch() {
        app_ = std::make_unique<TeskalApp>(*qApp, config(), web_);
        app_->showWindow();
        QVERIFY(comesTrue([this] { return app_->transcript() != nullptr; }));
    }
    Config config() const { return *Config::forLocalService(service_.origin().toString()); }
    static bool comesTrue(const std::function<bool()>& holds) {
        return waitUntil(holds, std::chrono::seconds(30));
    }

    MainWindow& window() { return app_->window(); }
    AppModel& model() { return app_->model(); }
    QWidget& composer() { return window().detail().composer().textView(); }
    QWebEngineView& view() { return *window().findChild<QWebEngineView*>(); }
    QDialog* signInSheet() { return window().findChild<QDialog*>(u"signInSheet"_qs); }
    template<class Widget>
    bool shows(const char* name) {
        const auto* found = window().findChild<Widget*>(QLatin1String(name));
        return found && found->isVisible();
    }

    /// To what has the keyboard.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(window().focusWidget(), key, modifiers);
    }
    void type(const QString& text) { QTest::keyClicks(window().focusWidget(), text); }
    void ask(const QString& question) {
        composer().setFocus();
        type(question);
        press(Qt::Key_Return);
    }

    QVariant script(const QString& source) {
        std::optional<QVariant> result;
        view().page()->runJavaScript(source, [&result](const QVariant& value) { result = value; });
        return comesTrue([&result] { return result.has_value(); }) ? *result : QVariant();
    }
    bool comesTo(MainWindow::Page page) {
        return comesTrue([this, page] { return window().page() == page; });
    }
    bool pageHolds(const QString& condition) { return script(condition).toBool(); }
    bool pageIsReady() {
        return comesTrue([this] { return model().transcript().isReady(); });
    }
    void killPage() {
        const auto process = view().page()->renderProcessPid();
        QVERIFY(process > 0);
        QCOMPARE(::kill(pid_t(process), SIGKILL), 0);
        QVERIFY(comesTrue([this] { return !model().transcript().isReady(); }));
    }

    /// What goes to the browser is written down instead, in browsed_, while \a act runs and until \a holds.
    bool actAndWait(const std::function<void()>& act, const std::function<bool()>& holds) {
        QDesktopServices::setUrlHandler(u"http"_qs, this, "browse");
        act();
        const bool held = comesTrue(holds);
        QDesktopServices::unsetUrlHandler(u"http"_qs);
        return held;
    }
    Q_INVOKABLE void browse(const QUrl& address) { browsed_ = address; }

    QUrl browsed_;
    LocalService service_;
    ServiceControl control_{service_};
    EngineParts web_;
    std::unique_ptr<TeskalApp> app_;
};

/// The main function of a journey.
template<class Journey>
int runJourney(int argc, char* argv[]) {
    prepareEngineEnvironment();
    QApplication application(argc, argv);
    Journey journey;
    return QTest::qExec(&journey, argc, argv);
}

} // namespace teskal::test
