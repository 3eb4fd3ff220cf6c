#include "FileCalls.h"

#include "JsonCall.h"
#include "JsonError.h"
#include "JsonText.h"
#include "PercentEncoding.h"
#include "TeskalAPI.h"

namespace teskal {

namespace {

/// Room for three minutes of video at 8 Mbit/s (180 MB) or twenty minutes of uncompressed stereo sound
/// (212 MB). Much more would press a machine with little memory, since growing bytes may be held twice.
constexpr qint64 maxFileInMemory = 256 * 1024 * 1024; // bytes

const QByteArray unknownType = QByteArrayLiteral("application/octet-stream");

QString fileIdIn(const QByteArray& body) {
    std::optional<QString> id;
    try {
        id = json::parseValue(body).member(QStringLiteral("id")).text();
    } catch (const JsonError&) {
        id = std::nullopt; // the same for the user as a reply without one
    }
    if (!id)
        throw APIError(502, std::nullopt, QStringLiteral("The file wasn’t stored."));
    return *id;
}

QString mediaTypeIn(const HttpHeaders& headers) {
    const QByteArray type = headers.value("Content-Type").value_or(unknownType).split(';').first().trimmed();
    return QString::fromUtf8(type.isEmpty() ? unknownType : type);
}

/// Files may be long: they take no connection from short requests.
QCoro::Task<HttpRequest> fileRequest(TeskalAPI api, QString id, std::stop_token stop) {
    auto building = api.request("GET", "/api/files?id=" + queryValue(id), stop);
    HttpRequest request = co_await building;
    request.ownConnection = true;
    co_return request;
}

} // namespace

QCoro::Task<QString> uploadFileCall(TeskalAPI api, QByteArray bytes, QString mediaType,
                                    std::stop_token stop) {
    auto building = api.request("POST", "/api/files", stop);
    HttpRequest request = co_await building;
    request.headers.append("Content-Type", mediaType.isEmpty() ? unknownType : mediaType.toUtf8());
    request.body = std::move(bytes);
    request.ownConnection = true;
    auto exchange = api.data(std::move(request), stop);
    const HttpResponse response = co_await exchange;
    co_return fileIdIn(response.body);
}

QCoro::Task<QString> downloadFileCall(TeskalAPI api, QString id, QString destination, std::stop_token stop) {
    auto building = fileRequest(api, id, stop);
    HttpRequest request = co_await building;
    auto downloading = api.http().download(std::move(request), destination, stop);
    const HttpResponse response = co_await downloading;
    if (!isSuccess(response.head.status))
        throw APIError::from(response.head.status, response.body);
    co_return mediaTypeIn(response.head.headers);
}

QCoro::Task<FileContent> readFileCall(TeskalAPI api, QString id, std::stop_token stop) {
    auto building = fileRequest(api, id, stop);
    HttpRequest request = co_await building;
    request.maxBodySize = maxFileInMemory;
    auto exchange = api.data(std::move(request), stop);
    const HttpResponse response = co_await exchange;
    FileContent content;
    content.bytes = response.body;
    content.mediaType = mediaTypeIn(response.head.headers);
    co_return content;
}

QCoro::Task<JobStatus> jobStatusCall(TeskalAPI api, QString kind, QString token, std::stop_token stop) {
    // The kind is part of the path and may have come with a chat from another device.
    if (kind != QLatin1String("video") && kind != QLatin1String("music"))
        throw APIError(400, QStringLiteral("BAD_KIND"), QStringLiteral("This job cannot be followed."));
    const QByteArray path = "/api/" + kind.toLatin1() + "?job=" + queryValue(token);
    auto exchange = jsonCall(api, "GET", path, std::nullopt, stop);
    const QByteArray body = co_await exchange;
    co_return readJobStatus(body);
}

} // namespace teskal
