#pragma once

#include "InstanceChannel.h"

#include <QLocalServer>
#include <QLockFile>
#include <QObject>

class QLocalSocket;

namespace teskal {

/// Sees to it that one process works on the user's data. The lock file decides who is first; the local
/// socket, which only the user can reach, carries what a second start has to say. Whatever else is sent to
/// the socket is dropped. Main thread only.
class SingleInstance final : public QObject {
    Q_OBJECT
public:
    /// \a folder holds the user's data and the lock; it is made when it is missing.
    explicit SingleInstance(const QString& folder, QObject* parent = nullptr);
    ~SingleInstance() override;

    /// Takes the lock and listens. False when another process of the user has it (or the folder cannot be
    /// used).
    bool claim();
    /// Tells the process that holds the lock, and waits (blocking, a few seconds at most) until it has
    /// understood. False when it did not.
    bool tell(const InstanceMessage& message);

Q_SIGNALS:
    /// A second start brought a callback link. It holds a code: it must not be logged.
    void linkReceived(const QUrl& link);
    /// A second start asks for a new chat.
    void newChatRequested();
    /// A second start asks this one to end.
    void quitRequested();
    /// The user wants to see the window, after what else a second start asked for. \a token is what the
    /// desktop gave it for coming to the front; it may be empty.
    void activationRequested(const QByteArray& token);

private:
    void accept();
    void read(QLocalSocket* socket);
    void obey(const InstanceMessage& message);

    QString lockPath_;
    QLockFile lock_;
    QLocalServer server_;
};

} // namespace teskal
