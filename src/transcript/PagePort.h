#pragma once

#include "ChatMessage.h"
#include "InlineFiles.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QObject>

namespace teskal {

/// The way to one transcript page and back. Main thread only.
class PagePort : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// Calls `window.teskal.<function>` with \a arguments, each one JSON text, as plain values. A call that
    /// fails in the page is logged and changes nothing here.
    virtual void call(const QByteArray& function, const QList<QByteArray>& arguments) = 0;
    /// Calls `window.teskal.upsert` with \a message. A port may send less, as long as the page sees that call
    /// with the whole message.
    virtual void upsert(const ChatMessage& message);
    /// Loads the page anew; it announces itself with a "ready" message.
    virtual void reload() = 0;

    /// The files that the page can load and that exist only inside the shown messages. Kept by the bridge.
    InlineFiles& inlineFiles() { return inlineFiles_; }

Q_SIGNALS:
    /// The page sent a message to the handler "teskal".
    void messageReceived(const QJsonObject& message);
    /// The process that draws the page ended.
    void processEnded();

private:
    InlineFiles inlineFiles_;
};

} // namespace teskal
