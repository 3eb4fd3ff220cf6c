#include "PageFinder.h"

#include "TranscriptPage.h"
#include "WebPagePort.h"

#include <QPointer>
#include <QWebEngineFindTextResult>

namespace teskal {

namespace {

/// Least time between two searches that the reader did not ask for.
constexpr std::chrono::milliseconds repeatInterval{500};

} // namespace

PageFinder::PageFinder(WebPagePort& port, QObject* parent) : QObject(parent), port_(port) {
    repeatSoon_.setSingleShot(true);
    repeatSoon_.setInterval(repeatInterval);
    connect(&repeatSoon_, &QTimer::timeout, this, &PageFinder::repeat);
    connect(&port_, &WebPagePort::contentChanged, this, &PageFinder::contentChanged);
    connect(&port_, &WebPagePort::drawn, this, &PageFinder::repeat);
}

void PageFinder::search(const QString& text) {
    if (text == text_)
        return;
    text_ = text;
    if (!text.isEmpty())
        return find(Step::Go);
    ++calls_;
    port_.letReaderGoAtOnce();
    port_.page().findText(QString());
    Q_EMIT counted(0, 0);
}

void PageFinder::contentChanged() {
    if (!text_.isEmpty() && !repeatSoon_.isActive())
        repeatSoon_.start();
}

void PageFinder::repeat() {
    repeatSoon_.stop();
    if (text_.isEmpty())
        return;
    // Only a search that begins anew counts anew. It begins behind the place at which the old one ends.
    port_.holdReader();
    port_.page().findText(QString());
    find(Step::Recount);
}

void PageFinder::find(Step step, bool backwards) {
    if (text_.isEmpty())
        return;
    if (step == Step::Go)
        port_.letReaderGoAtOnce();
    const quint64 call = ++calls_;
    port_.page().findText(text_, backwards ? QWebEnginePage::FindBackward : QWebEnginePage::FindFlags(),
                          [finder = QPointer(this), call, step](const QWebEngineFindTextResult& result) {
                              if (finder && call == finder->calls_)
                                  finder->found(step, result);
                          });
}

void PageFinder::found(Step step, const QWebEngineFindTextResult& result) {
    if (step == Step::Recount && result.numberOfMatches() > 1)
        return find(Step::StepBack, true);
    port_.letReaderGo();
    Q_EMIT counted(result.activeMatch(), result.numberOfMatches());
}

} // namespace teskal
