#pragma once

#include "PagePort.h"
#include "RendererFiles.h"
#include "TranscriptBridge.h"

#include <QColor>

#include <memory>

class QWebChannel;
class QWebEngineProfile;

namespace teskal {

class PageChannel;
class TranscriptPage;

/// The transcript page in the web engine: a profile that keeps nothing and reaches no host, the private
/// scheme, and the handler "teskal" as the page's only way out.
class WebPagePort final : public PagePort {
    Q_OBJECT

public:
    explicit WebPagePort(const RendererFiles& files, QObject* parent = nullptr);
    ~WebPagePort() override;

    TranscriptPage& page() { return *page_; }

    /// Look of the page before its first paint; also of every later load.
    void setFirstLook(PageTheme theme, const QColor& background);
    /// The families that the page's text and code are set in.
    void setFonts(const QString& text, const QString& code);
    void load();

    void call(const QByteArray& function, const QList<QByteArray>& arguments) override;
    void reload() override;

Q_SIGNALS:
    void linkActivated(const QString& url);

private:
    void addScript(const QString& name, const QString& source);

    std::unique_ptr<QWebEngineProfile> profile_;
    PageChannel* channelObject_;
    QWebChannel* channel_;
    std::unique_ptr<TranscriptPage> page_;
};

} // namespace teskal
