#include "ChatCall.h"

#include "AnswerFraming.h"
#include "BodyReading.h"
#include "FitBody.h"
#include "MediaReply.h"
#include "RouteHeaders.h"
#include "TeskalAPI.h"
#include "TextThrottle.h"

namespace teskal {

namespace {

constexpr std::chrono::seconds answerTimeout{900};
constexpr qsizetype maxAnswer = 64 * 1024 * 1024;

QByteArray chatBody(const QList<ChatMessage>& messages) {
    QList<OutgoingMessage> outgoing;
    outgoing.reserve(messages.size());
    for (const ChatMessage& message : messages)
        outgoing.append(OutgoingMessage::from(message));
    return "{\"messages\":" + fitBody(std::move(outgoing)) + "}";
}

TextResult finished(AnswerFraming& framing) {
    if (framing.isInsideEvent())
        throw APIError(502, QStringLiteral("CUT_OFF"),
                       framing.brokenOffError().value_or(
                           QStringLiteral("The answer was cut off before it finished. Ask again to retry.")));
    if (framing.text().trimmed().isEmpty())
        throw APIError(502, std::nullopt, QStringLiteral("No answer came back. Try again."));
    return {framing.text()};
}

/// Hands on what \a piece adds, texts and reports in the order in which they stand in it.
void take(QByteArrayView piece, AnswerFraming& framing, TextThrottle& throttle,
          const ChatCallbacks::ValueCallback& onActivity) {
    qsizetype told = framing.text().size();
    const auto tellText = [&] {
        if (framing.text().size() != std::exchange(told, framing.text().size()))
            throttle.update();
    };
    framing.feed(piece, [&] {
        tellText();
        onActivity(framing.activity());
    });
    tellText();
}

/// Follows the stream to its end; every text is delivered or waits in \a throttle when this throws.
QCoro::Task<void> follow(HttpStream* stream, AnswerFraming* framing, TextThrottle* throttle,
                         ChatCallbacks::ValueCallback onActivity, std::stop_token stop) {
    while (true) {
        auto reading = stream->read(stop);
        const std::optional<QByteArray> piece = co_await reading;
        if (!piece)
            co_return;
        take(*piece, *framing, *throttle, onActivity);
        if (framing->text().size() > maxAnswer)
            throw HttpError(HttpError::Kind::TooLarge, 0, QStringLiteral("the answer is too large"));
    }
}

} // namespace

QCoro::Task<ChatResult> chatCall(TeskalAPI api, QList<ChatMessage> messages, bool isPrivate,
                                 ChatCallbacks callbacks, std::stop_token stop) {
    auto building = api.request("POST", "/api/chat", stop);
    HttpRequest request = co_await building;
    setJsonBody(request, chatBody(messages));
    request.headers.append("X-Teskal-Events", "1");
    if (isPrivate)
        request.headers.append("X-Teskal-Private", "1");
    request.timeout = answerTimeout;
    request.ownConnection = true;

    auto opening = api.http().open(std::move(request), stop);
    const std::unique_ptr<HttpStream> stream = co_await std::move(opening);
    const HttpHead head = stream->head();
    if (!isSuccess(head.status)) {
        auto reading = readErrorBody(stream.get(), stop);
        const QByteArray body = co_await reading;
        throw APIError::from(head.status, body);
    }
    if (head.headers.value("Content-Type").value_or(QByteArray()).toLower().contains("application/json")) {
        auto reading = readRest(stream.get(), maxAnswer, stop);
        const QByteArray body = co_await reading;
        co_return readMediaReply(head.headers, body, callbacks.onRoute);
    }

    callbacks.onRoute(routeFromHeaders(head.headers));
    AnswerFraming framing;
    TextThrottle throttle(api.clock(), framing.text(), callbacks.onText);
    std::exception_ptr failure;
    try {
        auto following = follow(stream.get(), &framing, &throttle, callbacks.onActivity, stop);
        co_await following;
    } catch (...) {
        failure = std::current_exception();
    }
    if (!failure && framing.finish())
        throttle.update();
    throttle.flush(); // the last text precedes every kind of end
    if (failure)
        std::rethrow_exception(failure);
    co_return finished(framing);
}

} // namespace teskal
