#pragma once

#include "ChatMessage.h"
#include "ChatResult.h"

#include <QCoroTask>

#include <functional>
#include <stop_token>

namespace teskal {

class TeskalAPI;

/// What is told while an answer arrives; all on the main thread, in this order: the route once, then
/// activities and texts as they come.
struct ChatCallbacks {
    using ValueCallback = std::function<void(JSONValue)>;
    using TextCallback = std::function<void(QString)>;

    ChatCallbacks(ValueCallback route, TextCallback text, ValueCallback activity)
        : onRoute(std::move(route)), onText(std::move(text)), onActivity(std::move(activity)) {}

    ValueCallback onRoute; ///< object: model, name, lab, task, difficulty, preference, effort, web, title, …
    /// The whole text so far; at most every 33 ms while it grows, and the last text before every kind of end.
    TextCallback onText;
    ValueCallback onActivity; ///< object: phase, searches, steps
};

/// Posts a conversation to the chat endpoint and follows the answer to its end.
/// Throws APIError (status 502 for what is wrong with the answer itself; code "CUT_OFF" when it broke off
/// inside a report), HttpError, or Cancelled when \a stop is set.
QCoro::Task<ChatResult> chatCall(TeskalAPI api, QList<ChatMessage> messages, bool isPrivate,
                                 ChatCallbacks callbacks, std::stop_token stop);

} // namespace teskal
