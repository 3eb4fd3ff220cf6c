#include "SingleInstance.h"

#include "Log.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QLocalSocket>
#include <QThread>
#include <QTimer>

#include <chrono>

namespace teskal {

namespace {

using namespace std::chrono_literals;

constexpr auto readTime = 5s;      // a connection that says nothing for so long is closed
constexpr auto tellTime = 5s;      // for a first process that is just starting, too
constexpr int maxConnections = 16; // open at once
constexpr char understood[] = "ok\n";

QString lockPathIn(const QString& folder) {
    QDir().mkpath(folder);
    return QDir(folder).absoluteFilePath(QStringLiteral("instance.lock"));
}

/// Connects, retrying while the socket is not there yet. False at the deadline.
bool connectTo(QLocalSocket& socket, const QString& path, const QDeadlineTimer& deadline) {
    for (;;) {
        socket.connectToServer(path);
        if (socket.waitForConnected(int(deadline.remainingTime())))
            return true;
        if (deadline.hasExpired())
            return false;
        QThread::msleep(20); // no event loop runs yet in a start that will end at once
    }
}

} // namespace

SingleInstance::SingleInstance(const QString& folder, QObject* parent)
    : QObject(parent), lockPath_(lockPathIn(folder)), lock_(lockPath_) {
    lock_.setStaleLockTime(0); // stale only when its process is gone
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    server_.setMaxPendingConnections(maxConnections);
    connect(&server_, &QLocalServer::newConnection, this, &SingleInstance::accept);
}

SingleInstance::~SingleInstance() {
    server_.close(); // before the lock goes
}

bool SingleInstance::claim() {
    if (!lock_.tryLock(0))
        return false;
    // Ours is the lock, so a socket that is there was left by a process that died.
    const QString path = instanceSocketPath(lockPath_);
    QLocalServer::removeServer(path);
    if (!server_.listen(path)) // links can still be pasted, and starting matters more
        logLine(QStringLiteral("a second start cannot reach this one"));
    return true;
}

bool SingleInstance::tell(const InstanceMessage& message) {
    const QDeadlineTimer deadline(tellTime);
    QLocalSocket socket;
    if (!connectTo(socket, instanceSocketPath(lockPath_), deadline))
        return false;
    socket.write(message.toLine() + '\n');
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(int(deadline.remainingTime())))
            return false;
    }
    return socket.readLine() == understood;
}

void SingleInstance::accept() {
    while (QLocalSocket* socket = server_.nextPendingConnection()) {
        const auto open = server_.findChildren<QLocalSocket*>();
        if (open.size() > maxConnections) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        socket->setReadBufferSize(maxInstanceLine);
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { read(socket); });
        QTimer::singleShot(readTime, socket, &QLocalSocket::abort);
        read(socket);
    }
}

void SingleInstance::read(QLocalSocket* socket) {
    if (!socket->canReadLine()) {
        if (socket->bytesAvailable() >= maxInstanceLine)
            socket->abort();
        return;
    }
    QByteArray line = socket->readLine(maxInstanceLine);
    line.chop(1);
    const auto message = InstanceMessage::fromLine(line);
    disconnect(socket, &QLocalSocket::readyRead, this, nullptr); // one line each
    if (!message) {
        socket->abort();
        return;
    }
    socket->write(understood);
    socket->flush(); // what is asked for may be the end
    socket->disconnectFromServer();
    obey(*message);
}

void SingleInstance::obey(const InstanceMessage& message) {
    switch (message.verb()) {
    case InstanceMessage::Verb::Quit:
        Q_EMIT quitRequested();
        return;
    case InstanceMessage::Verb::OpenLink:
        Q_EMIT linkReceived(message.callbackLink());
        break;
    case InstanceMessage::Verb::NewChat:
        Q_EMIT newChatRequested();
        break;
    case InstanceMessage::Verb::Activate:
        break;
    }
    Q_EMIT activationRequested(message.activationToken());
}

} // namespace teskal
