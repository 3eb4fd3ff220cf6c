#include "VoiceCalls.h"

#include "JsonCall.h"
#include "RecordFields.h"
#include "TeskalAPI.h"

namespace teskal {

namespace {

/// Both what is heard and what is to be said.
struct Speech {
    QString text;
};

} // namespace

template<>
struct RecordFields<Speech> {
    static constexpr auto list = std::tuple{requiredField("text", &Speech::text)};
};

QCoro::Task<QString> transcribeCall(TeskalAPI api, QByteArray audio, QString contentType,
                                    std::stop_token stop) {
    auto building = api.request("POST", "/api/transcribe", stop);
    HttpRequest request = co_await building;
    request.headers.append("Content-Type", contentType.toUtf8());
    request.body = std::move(audio);
    auto exchange = api.data(std::move(request), stop);
    const HttpResponse response = co_await exchange;
    co_return decodeRecord<Speech>(response.body, Source::Wire).text;
}

QCoro::Task<QByteArray> speechCall(TeskalAPI api, QString text, std::stop_token stop) {
    Speech speech;
    speech.text = std::move(text);
    return jsonCall(std::move(api), "POST", "/api/speech", encodeRecord(speech), std::move(stop));
}

} // namespace teskal
