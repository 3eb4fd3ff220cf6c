#pragma once

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
    /// Loads the page anew; it announces itself with a "ready" message.
    virtual void reload() = 0;

Q_SIGNALS:
    /// The page sent a message to the handler "teskal".
    void messageReceived(const QJsonObject& message);
    /// The process that draws the page ended.
    void processEnded();
};

} // namespace teskal
