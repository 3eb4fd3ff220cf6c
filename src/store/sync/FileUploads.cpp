#include "FileUploads.h"

#include "ChatStore.h"
#include "Completion.h"
#include "Config.h"
#include "SerialWorker.h"
#include "SyncFailure.h"

namespace teskal {

namespace {

struct InlineItem {
    QString messageId;
    QString dataUrl;
};

bool isSent(const std::optional<QString>& url, const std::optional<QString>& fileId) {
    return fileId || !url || !Config::attachmentTypes().contains(dataUrlType(*url));
}

QList<InlineItem> inlineItems(const Chat& chat) {
    QList<InlineItem> items;
    for (const ChatMessage& message : chat.messages) {
        for (const Attachment& attachment : message.attachments)
            if (!isSent(attachment.dataUrl, attachment.fileId))
                items.append({message.id, *attachment.dataUrl});
        if (message.media && !isSent(message.media->url, message.media->fileId))
            items.append({message.id, *message.media->url});
    }
    return items;
}

void setFileId(ChatMessage& message, const QString& dataUrl, const QString& fileId) {
    for (Attachment& attachment : message.attachments)
        if (!attachment.fileId && attachment.dataUrl == dataUrl)
            attachment.fileId = fileId;
    if (message.media && !message.media->fileId && message.media->url == dataUrl)
        message.media->fileId = fileId;
}

Completion<std::optional<InlineFile>> decoded(SerialWorker& worker, const QString& dataUrl) {
    const auto source = std::make_shared<CompletionSource<std::optional<InlineFile>>>();
    const auto file = std::make_shared<std::optional<InlineFile>>();
    worker.run([dataUrl, file] { *file = decodedDataUrl(dataUrl); },
               [source, file] { source->succeed(*file); });
    return source->completion();
}

} // namespace

FileUploads::FileUploads(ChatStore& store, std::shared_ptr<SyncAccount> account, SerialWorker& decoder,
                         Uploaded uploaded)
    : store_(store), account_(std::move(account)), decoder_(decoder), uploaded_(std::move(uploaded)) {}

QCoro::Task<void> FileUploads::giveIdentifiers(QString chatId, std::stop_token stop) {
    const Chat* chat = store_.chat(chatId);
    if (!chat)
        co_return;
    const QList<InlineItem> items = inlineItems(*chat);
    for (const InlineItem& item : items) {
        auto asking = identifierFor(item.dataUrl, stop);
        const std::optional<QString> fileId = co_await asking;
        account_->requireCurrent();
        if (!fileId)
            continue;
        store_.updateMessageQuiet(chatId, item.messageId, [&item, &fileId](ChatMessage& message) {
            setFileId(message, item.dataUrl, *fileId);
        });
    }
}

QCoro::Task<std::optional<QString>> FileUploads::identifierFor(QString dataUrl, std::stop_token stop) {
    const auto decoding = decoded(decoder_, dataUrl);
    const std::optional<InlineFile> file = co_await decoding.wait(stop);
    account_->requireCurrent();
    std::optional<QString> fileId;
    if (!file)
        co_return fileId;
    if (const auto known = account_->uploads.constFind(file->hash); known != account_->uploads.constEnd()) {
        fileId = *known;
        co_return fileId;
    }
    auto sending = send(*file, stop);
    fileId = co_await sending;
    co_return fileId;
}

QCoro::Task<std::optional<QString>> FileUploads::send(InlineFile file, std::stop_token stop) {
    std::optional<QString> fileId;
    try {
        auto uploading = account_->api.uploadFile(file.bytes, file.mediaType, stop);
        fileId = co_await uploading;
    } catch (const APIError& error) {
        if (syncFailure(error) == SyncFailure::Unavailable)
            throw;
        co_return fileId;
    } catch (const Error&) {
        co_return fileId; // the chat goes without it
    }
    account_->requireCurrent();
    account_->uploads.insert(file.hash, *fileId);
    uploaded_(*fileId, file.mediaType, file.bytes);
    co_return fileId;
}

} // namespace teskal
