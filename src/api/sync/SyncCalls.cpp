#include "SyncCalls.h"

#include "Fields.h"
#include "IDs.h"
#include "JsonCall.h"
#include "PercentEncoding.h"
#include "TeskalAPI.h"
#include "WireFields.h"

#include <cmath>

namespace teskal {

namespace {

struct GetReply {
    WireChat chat;
};

struct PutReply {
    bool saved = false;
    bool deleted = false;
    std::optional<WireChat> chat;
};

} // namespace

template<>
struct RecordFields<ChatList> {
    static constexpr auto list = std::tuple{
        requiredField("enabled", &ChatList::enabled),
        requiredField("chats", &ChatList::chats),
    };
};

template<>
struct RecordFields<GetReply> {
    static constexpr auto list = std::tuple{requiredField("chat", &GetReply::chat)};
};

template<>
struct RecordFields<PutReply> {
    static constexpr auto list = std::tuple{
        optionalField("saved", &PutReply::saved),
        optionalField("deleted", &PutReply::deleted),
        optionalField("chat", &PutReply::chat),
    };
};

namespace {

void requireSyncable(const QString& id) {
    if (!IDs::isSyncable(id))
        throw APIError(400, QStringLiteral("BAD_ID"), QStringLiteral("This chat cannot be synced."));
}

QByteArray encodedPut(const WireChat& chat) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("chat");
    json::writeValue(writer, chat);
    writer.endObject();
    return writer.take();
}

ChatPutOutcome outcomeOf(PutReply reply) {
    if (reply.saved)
        return ChatSaved();
    if (reply.deleted)
        return ChatDeleted();
    if (reply.chat)
        return NewerChat{std::move(*reply.chat)};
    return ChatSaved();
}

/// An empty body holds no document; neither does, with a refusal, one that cannot be read.
std::optional<FolderDocument> documentIn(const HttpResponse& response) {
    if (response.body.isEmpty())
        return std::nullopt;
    try {
        return decodeFolderReply(response.body);
    } catch (const JsonError&) {
        if (isSuccess(response.head.status))
            throw;
        return std::nullopt;
    }
}

std::optional<double> serverTime(const HttpHeaders& headers) {
    bool isNumber = false;
    const double time = headers.value("X-Teskal-Time").value_or(QByteArray()).trimmed().toDouble(&isNumber);
    return isNumber && std::isfinite(time) ? std::optional(time) : std::nullopt;
}

FolderSyncReply readFolderReply(const HttpResponse& response) {
    FolderSyncReply reply;
    reply.status = response.head.status;
    if (!isSuccess(reply.status) && !reply.isTooLarge())
        throw APIError::from(reply.status, response.body);
    reply.document = documentIn(response);
    reply.serverTime = serverTime(response.head.headers);
    if (reply.isTooLarge())
        reply.error = APIError::textIn(response.body);
    return reply;
}

} // namespace

QCoro::Task<ChatList> listChatsCall(TeskalAPI api, std::stop_token stop) {
    auto exchange = jsonCall(api, "GET", "/api/chats", std::nullopt, stop);
    const QByteArray reply = co_await exchange;
    co_return decodeRecord<ChatList>(reply, Source::Wire);
}

QCoro::Task<std::optional<WireChat>> getChatCall(TeskalAPI api, QString id, std::stop_token stop) {
    requireSyncable(id);
    QByteArray reply;
    try {
        auto exchange = jsonCall(api, "GET", "/api/chats?id=" + queryValue(id), std::nullopt, stop);
        reply = co_await exchange;
    } catch (const APIError& error) {
        if (error.status() != 404)
            throw;
        co_return std::optional<WireChat>();
    }
    co_return std::optional<WireChat>(decodeRecord<GetReply>(reply, Source::Wire).chat);
}

QCoro::Task<ChatPutOutcome> putChatCall(TeskalAPI api, WireChat chat, std::stop_token stop) {
    requireSyncable(chat.id);
    auto exchange = jsonCall(api, "PUT", "/api/chats", encodedPut(chat), stop);
    const QByteArray reply = co_await exchange;
    co_return outcomeOf(decodeRecord<PutReply>(reply, Source::Wire));
}

QCoro::Task<void> deleteChatCall(TeskalAPI api, QString id, double at, std::stop_token stop) {
    requireSyncable(id);
    // The format keeps a time of thirteen digits from being written with an exponent.
    const QByteArray path = "/api/chats?id=" + queryValue(id) + "&at=" + QByteArray::number(at, 'f', 0);
    auto exchange = jsonCall(api, "DELETE", path, std::nullopt, stop);
    co_await exchange;
}

QCoro::Task<FolderSyncReply> syncFoldersCall(TeskalAPI api, FolderDocument document,
                                             std::optional<QString> token, std::stop_token stop) {
    const TeskalAPI sender = token ? api.withToken(*token) : api;
    auto building = sender.request("PUT", "/api/folders", stop);
    HttpRequest request = co_await building;
    setJsonBody(request, encodeFolderDocument(document));
    auto fetching = api.http().fetch(std::move(request), stop);
    const HttpResponse response = co_await fetching;
    co_return readFolderReply(response);
}

} // namespace teskal
