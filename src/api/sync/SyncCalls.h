#pragma once

#include "ChatList.h"
#include "ChatPutOutcome.h"
#include "FolderSyncReply.h"

#include <QCoroTask>

#include <optional>
#include <stop_token>

namespace teskal {

class TeskalAPI;

// The exchange of chats and folders with the service. Calls throw as TeskalAPI says, and JsonError for a
// reply that does not decode. An identifier for which IDs::isSyncable does not hold is never sent: the call
// ends as if the service had refused it, in APIError with status 400 and code "BAD_ID".

/// The account's chats without their messages, tombstones included.
QCoro::Task<ChatList> listChatsCall(TeskalAPI api, std::stop_token stop);
/// None when the service does not know the chat.
QCoro::Task<std::optional<WireChat>> getChatCall(TeskalAPI api, QString id, std::stop_token stop);
/// Sends \a chat, which is stored unless the service holds something newer.
QCoro::Task<ChatPutOutcome> putChatCall(TeskalAPI api, WireChat chat, std::stop_token stop);
/// \a at is the time of the deletion in ms since 1970.
QCoro::Task<void> deleteChatCall(TeskalAPI api, QString id, double at, std::stop_token stop);
/// \a token, when given, is sent instead of the token provider's, which is not asked then: what an account
/// left unsaved can still be delivered after it has been signed out.
QCoro::Task<FolderSyncReply> syncFoldersCall(TeskalAPI api, FolderDocument document,
                                             std::optional<QString> token, std::stop_token stop);

} // namespace teskal
