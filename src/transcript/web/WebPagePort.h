#pragma once

#include "CrashLimit.h"
#include "MessageGrowth.h"
#include "PagePort.h"
#include "RendererFiles.h"
#include "TranscriptBridge.h"

#include <QColor>

#include <memory>

class QWebChannel;
class QWebEngineProfile;

namespace teskal {

class FileSource;
class PageChannel;
class TranscriptPage;

/// The transcript page in the web engine: a profile that keeps nothing and reaches no host, the private
/// scheme, and the handler "teskal" as the page's only way out.
class WebPagePort final : public PagePort {
    Q_OBJECT

public:
    /// \a files is where the page's stored files come from; it must outlive the port. Without it there are
    /// none.
    explicit WebPagePort(const RendererFiles& renderer, FileSource* files = nullptr,
                         QObject* parent = nullptr);
    ~WebPagePort() override;

    TranscriptPage& page() { return *page_; }

    /// Look of the page before its first paint; also of every later load.
    void setFirstLook(PageTheme theme, const QColor& background);
    /// The families that the page's text and code are set in.
    void setFonts(const QString& text, const QString& code);
    /// Loads the page, and forgets how often its process ended.
    void load();

    void call(const QByteArray& function, const QList<QByteArray>& arguments) override;
    /// Sends only the text that was added, where nothing else about the message changed.
    void upsert(const ChatMessage& message) override;
    /// Does nothing but emit gaveUp() when the page's process has just ended for the third time within a
    /// minute.
    void reload() override;

    /// Until let go, or another chat is shown, the page stays where the reader is, wherever the engine
    /// scrolls. The reader's own hand is not held, and nobody is for more than a second.
    void holdReader();
    /// To be called when what the engine scrolls for is done.
    void letReaderGo();
    /// To be called before the reader is to be moved.
    void letReaderGoAtOnce();

Q_SIGNALS:
    void linkActivated(const QString& url);
    /// The page is not loaded again by itself any more; load() does.
    void gaveUp();
    /// Messages were handed to the page.
    void contentChanged();
    /// The page has drawn every message of the chat.
    void drawn();

private:
    void addScript(const QString& name, const QString& source);
    void loadPage();
    void checkScripts();
    void restoreScripts();
    void receive(const QJsonObject& message);
    void processTerminated();
    /// Calls \a function, a JavaScript expression, with \a arguments, each one JSON text.
    void run(const QByteArray& function, const QList<QByteArray>& arguments);
    void callFailed(const QByteArray& function, const QString& error);

    std::unique_ptr<QWebEngineProfile> profile_;
    PageChannel* channelObject_;
    QWebChannel* channel_;
    std::unique_ptr<TranscriptPage> page_;
    MessageGrowth growth_;
    CrashLimit crashes_;
    bool crashesTooOften_ = false;
    bool restoredScripts_ = false; ///< since the page's process ended
    bool readerHeld_ = false;      ///< or was, a moment ago
};

} // namespace teskal
