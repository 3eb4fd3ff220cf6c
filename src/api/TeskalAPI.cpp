#include "TeskalAPI.h"

namespace teskal {

namespace {

// The client is a value: its coroutines hold their own copy of what they need.

QCoro::Task<HttpRequest> makeRequest(QByteArray method, QUrl url, TokenProvider token, QByteArray client,
                                     std::stop_token stop) {
    auto provided = token(stop);
    const QString accessToken = co_await provided;
    HttpRequest request(method, url);
    request.headers.append("Authorization", "Bearer " + accessToken.toUtf8());
    request.headers.append("X-Teskal-Client", client);
    co_return request;
}

QCoro::Task<HttpResponse> fetchSuccess(HttpSession* http, HttpRequest request, std::stop_token stop) {
    auto fetching = http->fetch(request, stop);
    HttpResponse response = co_await fetching;
    if (!isSuccess(response.head.status))
        throw APIError::from(response.head.status, response.body);
    co_return response;
}

QCoro::Task<QString> fixedToken(QString token) {
    co_return token;
}

} // namespace

TeskalAPI::TeskalAPI(QUrl baseURL, TokenProvider token, HttpSession& http, Clock& clock, QString version)
    : baseURL_(std::move(baseURL)), token_(std::move(token)), http_(&http), clock_(&clock),
      version_(version.isEmpty() ? QStringLiteral("1") : std::move(version)) {}

QCoro::Task<ChatResult> TeskalAPI::chat(QList<ChatMessage> messages, bool isPrivate, ChatCallbacks callbacks,
                                        std::stop_token stop) const {
    return chatCall(*this, std::move(messages), isPrivate, std::move(callbacks), std::move(stop));
}

QCoro::Task<ChatList> TeskalAPI::listChats(std::stop_token stop) const {
    return listChatsCall(*this, std::move(stop));
}

QCoro::Task<std::optional<WireChat>> TeskalAPI::getChat(QString id, std::stop_token stop) const {
    return getChatCall(*this, std::move(id), std::move(stop));
}

QCoro::Task<ChatPutOutcome> TeskalAPI::putChat(WireChat chat, std::stop_token stop) const {
    return putChatCall(*this, std::move(chat), std::move(stop));
}

QCoro::Task<void> TeskalAPI::deleteChat(QString id, double at, std::stop_token stop) const {
    return deleteChatCall(*this, std::move(id), at, std::move(stop));
}

QCoro::Task<FolderSyncReply> TeskalAPI::syncFolders(FolderDocument document, std::optional<QString> token,
                                                    std::stop_token stop) const {
    return syncFoldersCall(*this, std::move(document), std::move(token), std::move(stop));
}

QCoro::Task<QString> TeskalAPI::uploadFile(QByteArray bytes, QString mediaType, std::stop_token stop) const {
    return uploadFileCall(*this, std::move(bytes), std::move(mediaType), std::move(stop));
}

QCoro::Task<QString> TeskalAPI::downloadFile(QString id, QString destination, std::stop_token stop) const {
    return downloadFileCall(*this, std::move(id), std::move(destination), std::move(stop));
}

QCoro::Task<FileContent> TeskalAPI::readFile(QString id, std::stop_token stop) const {
    return readFileCall(*this, std::move(id), std::move(stop));
}

QCoro::Task<JobStatus> TeskalAPI::jobStatus(QString kind, QString token, std::stop_token stop) const {
    return jobStatusCall(*this, std::move(kind), std::move(token), std::move(stop));
}

QCoro::Task<Billing> TeskalAPI::billing(bool fresh, std::stop_token stop) const {
    return billingCall(*this, fresh, std::move(stop));
}

QCoro::Task<QUrl> TeskalAPI::checkout(int credits, std::stop_token stop) const {
    return checkoutCall(*this, credits, std::move(stop));
}

QCoro::Task<APIKeyList> TeskalAPI::listKeys(std::stop_token stop) const {
    return listKeysCall(*this, std::move(stop));
}

QCoro::Task<NewAPIKey> TeskalAPI::createKey(QString name, std::stop_token stop) const {
    return createKeyCall(*this, std::move(name), std::move(stop));
}

QCoro::Task<void> TeskalAPI::revokeKey(QString id, std::stop_token stop) const {
    return revokeKeyCall(*this, std::move(id), std::move(stop));
}

QCoro::Task<QList<PoolModel>> TeskalAPI::pool(std::stop_token stop) const {
    return poolCall(*this, std::move(stop));
}

QCoro::Task<SettingsReply> TeskalAPI::settings(std::stop_token stop) const {
    return settingsCall(*this, std::move(stop));
}

QCoro::Task<AccountSettings> TeskalAPI::saveSettings(std::optional<bool> anonymize,
                                                     std::optional<QStringList> disabledModels,
                                                     std::stop_token stop) const {
    return saveSettingsCall(*this, anonymize, std::move(disabledModels), std::move(stop));
}

QCoro::Task<QString> TeskalAPI::transcribe(QByteArray audio, QString contentType,
                                           std::stop_token stop) const {
    return transcribeCall(*this, std::move(audio), std::move(contentType), std::move(stop));
}

QCoro::Task<QByteArray> TeskalAPI::speech(QString text, std::stop_token stop) const {
    return speechCall(*this, std::move(text), std::move(stop));
}

QCoro::Task<PassthroughReply> TeskalAPI::passthrough(QString path, QString method,
                                                     std::optional<QString> body,
                                                     std::stop_token stop) const {
    return passthroughCall(*this, std::move(path), std::move(method), std::move(body), std::move(stop));
}

TeskalAPI TeskalAPI::withToken(QString token) const {
    TeskalAPI copy = *this;
    copy.token_ = [token = std::move(token)](std::stop_token) { return fixedToken(token); };
    return copy;
}

QCoro::Task<HttpRequest> TeskalAPI::request(QByteArray method, QByteArray path, std::stop_token stop) const {
    const QUrl url = baseURL_.resolved(QUrl::fromEncoded(path, QUrl::StrictMode));
    return makeRequest(std::move(method), url, token_, "Teskal-macOS/" + version_.toUtf8(), std::move(stop));
}

QCoro::Task<HttpResponse> TeskalAPI::data(HttpRequest request, std::stop_token stop) const {
    return fetchSuccess(http_, std::move(request), std::move(stop));
}

void setJsonBody(HttpRequest& request, QByteArray json) {
    request.headers.append("Content-Type", "application/json");
    request.body = std::move(json);
}

} // namespace teskal
