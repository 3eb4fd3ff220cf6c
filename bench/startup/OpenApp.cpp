#include "OpenApp.h"
#include "PageWatcher.h"
#include "Picture.h"

#include "AppFolders.h"
#include "EarlyFonts.h"
#include "LogSink.h"
#include "SingleInstance.h"
#include "TerminationSignals.h"
#include "TeskalApp.h"
#include "TranscriptPane.h"
#include "WebModule.h"

#include <QApplication>
#include <QLibrary>
#include <QTimer>

namespace teskal::bench {

namespace {

/// The function out of a module of its own: only there the web engine is known.
PageWatcher pageWatcher() {
    QLibrary library(QCoreApplication::applicationDirPath() + QStringLiteral("/bench_page_watcher.so"));
    const auto watch = reinterpret_cast<PageWatcher>(library.resolve(pageWatcherName));
    if (!watch)
        qFatal("%s", qPrintable(library.errorString()));
    return watch;
}

/// Selects the newest chat and says when it is seen.
class Reader final : public QObject {
public:
    explicit Reader(TeskalApp& app) : app_(app) {
        connect(&app.model().store(), &ChatStore::newestLoaded, this, &Reader::select);
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
        TranscriptPane* transcript = app_.transcript();
        if (!transcript)
            return;
        clock_.stop();
        const auto watch = pageWatcher();
        // The chat is handed over when the page is there, and right before we hear of that.
        QWidget* const view = &transcript->widget();
        connect(&transcript->port(), &PagePort::messageReceived, view, [watch, view] { watch(view); });
    }

    TeskalApp& app_;
    QTimer clock_;
};

} // namespace

int openApp(QApplication& application, EarlyFonts& fonts, const char* origin) {
    installLogSink();
    TerminationSignals termination;
    const Config config = Config::forLocalService(QString::fromLatin1(origin)).value();
    SingleInstance instance(AppFolders::forUser(config.storageSuffix).data);
    if (!instance.claim())
        return 1;
    fonts.finish();
    WebModule web;
    TeskalApp app(application, config, web);
    QObject::connect(&termination, &TerminationSignals::received, &app, &TeskalApp::quit);
    Reader reader(app);
    reader.select();
    new FirstPicture(app.window(), [] { say("picture"); });
    app.showWindow();
    return QApplication::exec();
}

} // namespace teskal::bench
