#pragma once

#include "DataUrl.h"
#include "SyncAccount.h"

#include <QByteArray>
#include <QCoroTask>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace teskal {

class ChatStore;
class SerialWorker;

/// Gives the files that a chat holds inline an identifier at the service, so that the chat can travel without
/// them. Each file is sent once, however many chats hold it.
class FileUploads {
public:
    /// A file that was sent: its identifier, MIME type and bytes.
    using Uploaded =
        std::function<void(const QString& fileId, const QString& mediaType, const QByteArray& bytes)>;

    /// \a decoder takes the base64 off the main thread.
    FileUploads(ChatStore& store, std::shared_ptr<SyncAccount> account, SerialWorker& decoder,
                Uploaded uploaded);

    /// Sends what chat \a chatId holds inline. A file that cannot be sent stays without an identifier. Throws
    /// the service's error when it keeps no history for this account, and Cancelled.
    QCoro::Task<void> giveIdentifiers(QString chatId, std::stop_token stop);

private:
    QCoro::Task<std::optional<QString>> identifierFor(QString dataUrl, std::stop_token stop);
    QCoro::Task<std::optional<QString>> send(InlineFile file, std::stop_token stop);

    ChatStore& store_;
    std::shared_ptr<SyncAccount> account_;
    SerialWorker& decoder_;
    Uploaded uploaded_;
};

} // namespace teskal
