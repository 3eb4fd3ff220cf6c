#pragma once

#include "ManualClock.h"
#include "Pending.h"
#include "TeskalAPI.h"

#include <QStringList>

namespace teskal::test {

/// The chat call on a clock that stands still, and what it told on the way.
class ChatClient {
public:
    explicit ChatClient(const QUrl& origin, const QString& accessToken = QStringLiteral("token"),
                        const QString& version = {});

    Pending<ChatResult> ask(const QList<ChatMessage>& messages, bool isPrivate = false);
    /// Asks one question.
    Pending<ChatResult> ask(const QString& question) { return ask({userMessage(question)}); }

    static ChatMessage userMessage(const QString& text);

    ManualClock clock;
    HttpSession session{clock};
    TeskalAPI api;
    /// "route", "text: …" and "activity: …", in the order of the callbacks.
    QStringList told;
    QList<JSONValue> routes;
    QStringList texts;
};

/// How the call ended, in one line: "text: …", "image: data, file, prompt" (with - for none), "video: …",
/// "music: …", "API 502 CUT_OFF: …", "HTTP 3" (kind), "Cancelled" or "error: …".
QString outcomeOf(Pending<ChatResult>& call);

} // namespace teskal::test
