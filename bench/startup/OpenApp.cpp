#include "OpenApp.h"
#include "Picture.h"

#include "AppFolders.h"
#include "LogSink.h"
#include "SingleInstance.h"
#include "TerminationSignals.h"
#include "TeskalApp.h"
#include "TranscriptPage.h"

#include <QApplication>
#include <QTimer>

namespace teskal::bench {

namespace {

/// Selects the newest chat and says when it is seen.
class Reader final : public QObject {
public:
    explicit Reader(TeskalApp& app) : app_(app) {
        connect(&app.model().store(), &ChatStore::loaded, this, &Reader::select);
        connect(&clock_, &QTimer::timeout, this, &Reader::watchPage);
        clock_.start(1); // the page is made some time after the first picture
    }

    void select() {
        const ChatStore& store = app_.model().store();
        if (store.count() > 0 && !app_.model().selection())
            app_.model().select(store.at(0).id);
    }

private:
    void watchPage() {
        WebPagePort* page = app_.page();
        if (!page)
            return;
        clock_.stop();
        TranscriptPage& shown = page->page();
        connect(&shown, &QWebEnginePage::titleChanged, this, [](const QString& title) {
            if (title == QLatin1String("painted"))
                say("transcript");
        });
        // The first frame with a message draws it; when the next one begins, it has been drawn.
        connect(page, &WebPagePort::contentChanged, this, [&shown] {
            shown.runJavaScript(
                QStringLiteral("(() => { const look = () => document.querySelector('.bubble')"
                               " ? requestAnimationFrame(() => { document.title = 'painted'; })"
                               " : requestAnimationFrame(look); requestAnimationFrame(look); })()"));
        });
    }

    TeskalApp& app_;
    QTimer clock_;
};

} // namespace

int openApp(QApplication& application, const char* origin) {
    installLogSink();
    TerminationSignals termination;
    const Config config = Config::forLocalService(QString::fromLatin1(origin)).value();
    SingleInstance instance(AppFolders::forUser(config.storageSuffix).data);
    if (!instance.claim())
        return 1;
    TeskalApp app(application, config);
    QObject::connect(&termination, &TerminationSignals::received, &app, &TeskalApp::quit);
    Reader reader(app);
    reader.select();
    new FirstPicture(app.window(), [] { say("picture"); });
    app.showWindow();
    return QApplication::exec();
}

} // namespace teskal::bench
