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
    return text.value_or(u"-"_qs);
}

struct Describe {
    QString operator()(const TextResult& r) const { return u"text: "_qs + r.text; }
    QString operator()(const ImageResult& r) const {
        return u"image: %1, %2, %3"_qs.arg(r.dataUrl, orDash(r.fileId), orDash(r.prompt));
    }
    QString operator()(const VideoResult& r) const {
        return u"video: %1, %2, %3"_qs.arg(orDash(r.requestId), orDash(r.model), orDash(r.prompt));
    }
    QString operator()(const MusicResult& r) const {
        return u"music: %1, %2, %3, %4"_qs.arg(orDash(r.requestId), orDash(r.model), orDash(r.lyrics),
                                               orDash(r.prompt));
    }
};

} // namespace

Pending<ChatResult> ChatClient::ask(const QList<ChatMessage>& messages, bool isPrivate) {
    const ChatCallbacks callbacks(
        [this](const JSONValue& route) {
            told.append(u"route"_qs);
            routes.append(route);
        },
        [this](const QString& text) {
            told.append(u"text: "_qs + text);
            texts.append(text);
        },
        [this](const JSONValue& activity) { told.append(u"activity: "_qs + compact(activity)); });
    return start(
        [&](std::stop_token stop) { return api.chat(messages, isPrivate, callbacks, std::move(stop)); });
}

ChatMessage ChatClient::userMessage(const QString& text) {
    ChatMessage message;
    message.id = u"m1"_qs;
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
