#include "WatchedPage.h"

#include "Corpus.h"
#include "WaitUntil.h"

#include <QFile>
#include <QJsonArray>
#include <QRegularExpression>
#include <QUrlQuery>
#include <QWebEngineNewWindowRequest>
#include <QWebEngineProfile>
#include <QWebEngineUrlRequestInfo>

namespace teskal::test {

namespace {

bool isExpected(const QUrl& url) {
    static const QRegularExpression storedFile(u"^teskal-app://file/[A-Za-z0-9_-]+$"_qs);
    static const QRegularExpression inlineMedia(u"^data:(image/(png|jpeg|webp|gif)|audio/|video/)"_qs);
    const QString text = QString::fromLatin1(url.toEncoded());
    return text.startsWith(QLatin1String("teskal-app://renderer/")) || storedFile.match(text).hasMatch() ||
           inlineMedia.match(text).hasMatch();
}

bool isWebAddress(const QString& text) {
    const QUrl url(text);
    const QStringList schemes{u"http"_qs, u"https"_qs, u"mailto"_qs};
    return url.isValid() && schemes.contains(url.scheme()) && url.userInfo().isEmpty();
}

/// A request for the preview of a link to the web, and for nothing else.
bool asksForPreview(const QJsonObject& message) {
    const QUrl path(message.value(u"path"_qs).toString());
    const QString link = QUrlQuery(path).queryItemValue(u"url"_qs, QUrl::FullyDecoded);
    return path.path() == QLatin1String("/api/unfurl") && path.host().isEmpty() &&
           message.value(u"method"_qs).toString() == QLatin1String("GET") &&
           message.value(u"body"_qs).toString().isEmpty() && isWebAddress(link) &&
           !link.startsWith(QLatin1String("mailto"));
}

QString watchScript() {
    QFile file(QStringLiteral(TESKAL_HOSTILE_FILES "/watch.js"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

void RequestWatch::interceptRequest(QWebEngineUrlRequestInfo& info) {
    if (isExpected(info.requestUrl()))
        return;
    unexpected_.append(u"request: "_qs + info.requestUrl().toString().left(120));
    info.block(true);
}

WatchedPage::WatchedPage() : requests_(new RequestWatch(engine_.page().profile())) {
    // In the place of the guard that would stop the requests unseen.
    engine_.page().profile()->setUrlRequestInterceptor(requests_);
    QObject::connect(&engine_.port(), &PagePort::messageReceived, &engine_.window(),
                     [this](const QJsonObject& message) { noteMessage(message); });
}

bool WatchedPage::open() {
    if (!engine_.open() || !run(watchScript()))
        return false;
    auto* context = &engine_.window();
    auto* page = &engine_.page();
    QObject::connect(page, &QWebEnginePage::loadStarted, context,
                     [this] { offences_.append(u"the page loads something"_qs); });
    QObject::connect(page, &QWebEnginePage::urlChanged, context,
                     [this](const QUrl& url) { offences_.append(u"address: "_qs + url.toString()); });
    QObject::connect(page, &QWebEnginePage::newWindowRequested, context,
                     [this] { offences_.append(u"a new window"_qs); });
    QObject::connect(&engine_.port(), &WebPagePort::linkActivated, context,
                     [this] { offences_.append(u"a link followed past the page"_qs); });
    QObject::connect(&engine_.port(), &PagePort::processEnded, context, [this] { gone_ = true; });
    const QJsonObject warmUp{{u"id"_qs, u"warm-up"_qs},
                             {u"role"_qs, u"assistant"_qs},
                             {u"content"_qs, u"$x$\n\n```js\nlet x;\n```\n\nend\n"_qs}};
    if (!call("upsert", {warmUp}) || !engine_.waitFor(u"document.querySelector('.katex') && "
                                                      "document.querySelector('[class^=hljs-]')"_qs))
        return false;
    takeOffences();
    return true;
}

bool WatchedPage::call(const QByteArray& function, const QList<QJsonValue>& arguments) {
    QList<QByteArray> literals;
    for (const QJsonValue& argument : arguments)
        literals.append(literal(argument));
    const double before = mainThreadTime();
    engine_.port().call(function, literals);
    return settle(before);
}

bool WatchedPage::run(const QString& script) {
    const double before = mainThreadTime();
    engine_.page().runJavaScript(script);
    return settle(before);
}

bool WatchedPage::settle(double cpuBefore) {
    engine_.page().runJavaScript(u"watch.settle(%1)"_qs.arg(++turn_));
    if (!waitUntil([this] { return gone_ || settledTurn_ == turn_; }, EnginePage::patience) || gone_)
        return false;
    noteFreeze(cpuBefore);
    return true;
}

bool WatchedPage::pressLinks() {
    linksMayOpen_ = true;
    const bool done = run(u"watch.pressLinks()"_qs);
    linksMayOpen_ = false;
    return done;
}

QStringList WatchedPage::takeOffences() {
    const QVariant inPage = evaluate(u"watch.offences()"_qs);
    QStringList all = std::exchange(offences_, {}) + requests_->take();
    if (inPage.isValid())
        all += inPage.toStringList();
    else
        all.append(u"the page does not answer"_qs);
    return all;
}

void WatchedPage::noteFreeze(double cpuBefore) {
    // The machine may be busy with other work, so a task that took long by the clock counts only as far as
    // the thread was really running; and time that was spread over several tasks is no freeze.
    const double freeze = std::min(mainThreadTime() - cpuBefore, longestTask_);
    if (freeze > longestFreeze_)
        offences_.append(u"froze for %1 ms"_qs.arg(qRound(freeze)));
}

void WatchedPage::noteMessage(const QJsonObject& message) {
    const QString type = message.value(u"type"_qs).toString();
    if (type == QLatin1String("settled")) {
        settledTurn_ = message.value(u"turn"_qs).toInt();
        longestTask_ = message.value(u"longest"_qs).toDouble();
    } else if (type == QLatin1String("fetch") && asksForPreview(message)) {
        previews_.append(message.value(u"id"_qs).toInt());
    } else if (type == QLatin1String("openLink") && linksMayOpen_ &&
               isWebAddress(message.value(u"url"_qs).toString())) {
        return;
    } else if (type != QLatin1String("ready") && type != QLatin1String("drawn")) {
        offences_.append(u"message: "_qs + QString::fromUtf8(literal(message)).left(160));
    }
}

double WatchedPage::mainThreadTime() {
    const QString process = QString::number(engine_.page().renderProcessPid());
    QFile file(u"/proc/%1/task/%1/schedstat"_qs.arg(process));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    constexpr double nanosecondsPerMillisecond = 1e6;
    return file.readAll().split(' ').first().toDouble() / nanosecondsPerMillisecond;
}

} // namespace teskal::test
