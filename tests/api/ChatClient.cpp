#include "ChatClient.h"

#include "JsonWriter.h"

namespace teskal::test {

namespace {

QString compact(const JSONValue& value) {
    JsonWriter writer;
    writer.value(value);
    return QString::fromUtf8(writer.take());
}

QString orDash(const std::optional<QString>& text) {
    return text.value_or(QStringLiteral("-"));
}

struct Describe {
    QString operator()(const TextResult& r) const { return QStringLiteral("text: ") + r.text; }
    QString operator()(const ImageResult& r) const {
        return QStringLiteral("image: %1, %2, %3").arg(r.dataUrl, orDash(r.fileId), orDash(r.prompt));
    }
    QString operator()(const VideoResult& r) const {
        return QStringLiteral("video: %1, %2, %3")
            .arg(orDash(r.requestId), orDash(r.model), orDash(r.prompt));
    }
    QString operator()(const MusicResult& r) const {
        return QStringLiteral("music: %1, %2, %3, %4")
            .arg(orDash(r.requestId), orDash(r.model), orDash(r.lyrics), orDash(r.prompt));
    }
};

} // namespace

Pending<ChatResult> ChatClient::ask(const QList<ChatMessage>& messages, bool isPrivate) {
    const ChatCallbacks callbacks(
        [this](const JSONValue& route) {
            told.append(QStringLiteral("route"));
            routes.append(route);
        },
        [this](const QString& text) {
            told.append(QStringLiteral("text: ") + text);
            texts.append(text);
        },
        [this](const JSONValue& activity) { told.append(QStringLiteral("activity: ") + compact(activity)); });
    return start(
        [&](std::stop_token stop) { return api.chat(messages, isPrivate, callbacks, std::move(stop)); });
}

ChatMessage ChatClient::userMessage(const QString& text) {
    ChatMessage message;
    message.id = QStringLiteral("m1");
    message.content = text;
    return message;
}

QString outcomeOf(Pending<ChatResult>& call) {
    try {
        return std::visit(Describe(), call.result());
    } catch (...) {
        return describe(std::current_exception());
    }
}

} // namespace teskal::test
