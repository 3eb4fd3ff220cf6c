#include "EnginePage.h"

#include "TeskalScheme.h"
#include "WaitUntil.h"

#include <QCoreApplication>
#include <QQuickWindow>
#include <QTimer>
#include <QVBoxLayout>

namespace teskal::test {

namespace {

RendererFiles builtRenderer() {
    return RendererFiles(QCoreApplication::applicationDirPath() + u"/Renderer"_qs);
}

} // namespace

EnginePage::EnginePage(QSize size, FileSource* files)
    : port_(builtRenderer(), files), view_(new TranscriptView(port_.page())) {
    auto* layout = new QVBoxLayout(&window_);
    layout->setContentsMargins({});
    layout->addWidget(view_);
    window_.resize(size);
    QObject::connect(&port_, &PagePort::messageReceived, &window_,
                     [this](const QJsonObject& message) { messages_.append(message); });
    QObject::connect(&port_, &WebPagePort::drawn, &window_, [this] {
        messages_.append(QJsonObject{{u"type"_qs, u"drawn"_qs}});
    });
}

bool EnginePage::open() {
    window_.show();
    window_.activateWindow();
    port_.load();
    return waitUntil([this] { return messages_.contains(QJsonObject{{u"type"_qs, u"ready"_qs}}); }, patience);
}

QWidget& EnginePage::input() const {
    return view_->focusProxy() ? *view_->focusProxy() : *view_;
}

QVariant EnginePage::evaluate(const QString& script) {
    std::optional<QVariant> result;
    page().runJavaScript(script, [&result](const QVariant& value) { result = value; });
    return waitUntil([&result] { return result.has_value(); }, patience) ? *result : QVariant();
}

bool EnginePage::waitFor(const QString& condition) {
    // What happens in the page is no event here, so the loop has to be woken to ask again.
    QTimer again;
    again.start(std::chrono::milliseconds(5));
    return waitUntil([&] { return evaluate(u"!!(%1)"_qs.arg(condition)).toBool(); }, patience);
}

void prepareEngine() {
    registerTeskalScheme();
    // No test needs a graphics card.
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    qputenv("QT_XCB_GL_INTEGRATION", "none");
}

} // namespace teskal::test
