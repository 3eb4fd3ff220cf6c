#pragma once

#include "APIError.h"
#include "AccountCalls.h"
#include "ChatCall.h"
#include "FileCalls.h"
#include "HttpSession.h"
#include "Passthrough.h"
#include "SyncCalls.h"
#include "VoiceCalls.h"

#include <QCoroTask>
#include <QUrl>

#include <functional>
#include <stop_token>

namespace teskal {

class Clock;

/// Yields a current access token, refreshing it first when needed. Its failure fails the call that asked.
using TokenProvider = std::function<QCoro::Task<QString>(std::stop_token)>;

/// The one HTTP client of the application: where the service lives and how to get an access token. Cheap to
/// copy, keeps nothing between calls; any number of calls may run side by side. Main thread only.
///
/// Calls throw APIError for a failing status, HttpError for transport failures, Cancelled when their token is
/// set, and whatever the token provider throws.
class TeskalAPI {
public:
    TeskalAPI(QUrl baseURL, TokenProvider token, HttpSession& http, Clock& clock, QString version);

    /// Sends \a messages (oldest first, the new user message last) and follows the answer. See ChatCall.h.
    QCoro::Task<ChatResult> chat(QList<ChatMessage> messages, bool isPrivate, ChatCallbacks callbacks,
                                 std::stop_token stop) const;

    /// The account's chats and folders at the service. See SyncCalls.h.
    QCoro::Task<ChatList> listChats(std::stop_token stop) const;
    QCoro::Task<std::optional<WireChat>> getChat(QString id, std::stop_token stop) const;
    QCoro::Task<ChatPutOutcome> putChat(WireChat chat, std::stop_token stop) const;
    QCoro::Task<void> deleteChat(QString id, double at, std::stop_token stop) const;
    QCoro::Task<FolderSyncReply> syncFolders(FolderDocument document, std::optional<QString> token,
                                             std::stop_token stop) const;

    /// Files and generation jobs. See FileCalls.h.
    QCoro::Task<QString> uploadFile(QByteArray bytes, QString mediaType, std::stop_token stop) const;
    QCoro::Task<QString> downloadFile(QString id, QString destination, std::stop_token stop) const;
    QCoro::Task<FileContent> readFile(QString id, std::stop_token stop) const;
    QCoro::Task<JobStatus> jobStatus(QString kind, QString token, std::stop_token stop) const;

    /// The account. See AccountCalls.h.
    QCoro::Task<Billing> billing(bool fresh, std::stop_token stop) const;
    QCoro::Task<QUrl> checkout(int credits, std::stop_token stop) const;
    QCoro::Task<APIKeyList> listKeys(std::stop_token stop) const;
    QCoro::Task<NewAPIKey> createKey(QString name, std::stop_token stop) const;
    QCoro::Task<void> revokeKey(QString id, std::stop_token stop) const;
    QCoro::Task<QList<PoolModel>> pool(std::stop_token stop) const;
    QCoro::Task<SettingsReply> settings(std::stop_token stop) const;
    QCoro::Task<AccountSettings> saveSettings(std::optional<bool> anonymize,
                                              std::optional<QStringList> disabledModels,
                                              std::stop_token stop) const;

    /// Speech to text and back. See VoiceCalls.h.
    QCoro::Task<QString> transcribe(QByteArray audio, QString contentType, std::stop_token stop) const;
    QCoro::Task<QByteArray> speech(QString text, std::stop_token stop) const;

    /// The narrow part of the service that the transcript page may ask. See Passthrough.h.
    QCoro::Task<PassthroughReply> passthrough(QString path, QString method, std::optional<QString> body,
                                              std::stop_token stop) const;

    /// The same client with \a token for every call, whoever is signed in.
    TeskalAPI withToken(QString token) const;

    /// A request for \a path (which begins with "/" and may carry a query), with the token and the client
    /// header. The bearer token goes to the base URL's origin only.
    QCoro::Task<HttpRequest> request(QByteArray method, QByteArray path, std::stop_token stop) const;
    /// Sends \a request and returns the whole reply when its status is 200 to 299; throws APIError otherwise.
    QCoro::Task<HttpResponse> data(HttpRequest request, std::stop_token stop) const;

    const QUrl& baseURL() const { return baseURL_; }
    HttpSession& http() const { return *http_; }
    Clock& clock() const { return *clock_; }

private:
    QUrl baseURL_;
    TokenProvider token_;
    HttpSession* http_;
    Clock* clock_;
    QString version_;
};

/// Gives \a request a JSON body.
void setJsonBody(HttpRequest& request, QByteArray json);

} // namespace teskal
