#include "BareView.h"

#include "PageTask.h"
#include "TeskalScheme.h"

#include <QBuffer>
#include <QVBoxLayout>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlSchemeHandler>
#include <QWebEngineView>

namespace teskal::bench {

namespace {

/// Answers every request with the same page.
class OnePage final : public QWebEngineUrlSchemeHandler {
public:
    OnePage(const QByteArray& html, QObject* parent) : QWebEngineUrlSchemeHandler(parent), html_(html) {}

    void requestStarted(QWebEngineUrlRequestJob* job) override {
        auto* body = new QBuffer(job);
        body->setData(html_);
        job->reply("text/html", body);
    }

private:
    QByteArray html_;
};

std::unique_ptr<QWebEngineProfile> makeProfile() {
    registerTeskalScheme();
    return std::make_unique<QWebEngineProfile>();
}

} // namespace

BareView::BareView(const QByteArray& html)
    : profile_(makeProfile()), page_(std::make_unique<QWebEnginePage>(profile_.get())) {
    profile_->setHttpCacheType(QWebEngineProfile::NoCache);
    profile_->setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
    const QByteArray document = "<!doctype html><meta charset=utf-8><title>bare</title>" + html;
    profile_->installUrlSchemeHandler(teskalScheme, new OnePage(document, profile_.get()));
    auto* view = new QWebEngineView;
    view->setPage(page_.get());
    auto* layout = new QVBoxLayout(&window_);
    layout->setContentsMargins({});
    layout->addWidget(view);
    window_.resize(800, 600);
}

BareView::~BareView() = default;

void BareView::open() {
    bool loaded = false;
    QObject::connect(page_.get(), &QWebEnginePage::loadFinished, &window_, [&loaded] { loaded = true; });
    window_.show();
    window_.activateWindow();
    page_->load(QUrl(QStringLiteral("teskal-app://renderer/index.html")));
    waitFor("the bare page", [&loaded] { return loaded; });
    page_->disconnect(&window_);
}

} // namespace teskal::bench
