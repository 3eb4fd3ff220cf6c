#include "PageWatcher.h"

#include "Picture.h"

#include <QWebEngineView>

extern "C" void watchPage(QWidget* view) {
    QWebEnginePage* const page = static_cast<QWebEngineView*>(view)->page();
    QObject::connect(page, &QWebEnginePage::titleChanged, page, [](const QString& title) {
        if (title == QLatin1String("painted"))
            teskal::bench::say("transcript");
    });
    // The first frame with a message draws it; when the next one begins, it has been drawn.
    page->runJavaScript(QStringLiteral("(() => { const look = () => document.querySelector('.bubble')"
                                       " ? requestAnimationFrame(() => { document.title = 'painted'; })"
                                       " : requestAnimationFrame(look); requestAnimationFrame(look); })()"));
}
