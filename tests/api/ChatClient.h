#pragma once

#include "ApiClient.h"

#include <QStringList>

namespace teskal::test {

/// The chat call on a clock that stands still, and what it told on the way.
class ChatClient : public ApiClient {
public:
    using ApiClient::ApiClient;

    Pending<ChatResult> ask(const QList<ChatMessage>& messages, bool isPrivate = false);
    /// Asks one question.
    Pending<ChatResult> ask(const QString& question) { return ask({userMessage(question)}); }

    static ChatMessage userMessage(const QString& text);

    /// "route", "text: …" and "activity: …", in the order of the callbacks.
    QStringList told;
    QList<JSONValue> routes;
    QStringList texts;
};

/// How the call ended, in one line: "text: …", "image: data, file, prompt" (with - for none), "video: …",
/// "music: …", or as describe() words it.
QString outcomeOf(Pending<ChatResult>& call);
inline QString outcomeOf(Pending<ChatResult>&& call) {
    return outcomeOf(call);
}

} // namespace teskal::test
