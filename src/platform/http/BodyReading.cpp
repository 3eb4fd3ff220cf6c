#include "BodyReading.h"

#include "FileError.h"
#include "FileMove.h"

#include <QTemporaryFile>

namespace teskal {

namespace {

constexpr qsizetype maxErrorBody = 1024 * 1024;

void require(bool worked, const QFileDevice& file) {
    if (!worked)
        throw FileError(file.errorString());
}

} // namespace

QCoro::Task<QByteArray> readRest(HttpStream* stream, qsizetype limit, std::stop_token token) {
    QByteArray body;
    while (true) {
        auto reading = stream->read(token);
        const std::optional<QByteArray> piece = co_await reading;
        if (!piece)
            co_return body;
        body.append(*piece);
        if (body.size() > limit)
            throw HttpError(HttpError::Kind::TooLarge, 0, QStringLiteral("more than %1 bytes").arg(limit));
    }
}

QCoro::Task<QByteArray> readErrorBody(HttpStream* stream, std::stop_token token) {
    QByteArray body;
    try {
        auto reading = readRest(stream, maxErrorBody, token);
        body = co_await reading;
    } catch (const HttpError&) {
        body.clear();
    }
    co_return body;
}

QCoro::Task<void> saveRest(std::unique_ptr<HttpStream> stream, QString destination, std::stop_token token) {
    QTemporaryFile file(destination + QStringLiteral(".XXXXXX"));
    require(file.open(), file);
    while (true) {
        auto reading = stream->read(token);
        const std::optional<QByteArray> piece = co_await reading;
        if (!piece)
            break;
        require(file.write(*piece) == piece->size(), file);
    }
    require(file.flush(), file);
    moveFile(file.fileName(), destination);
    file.setAutoRemove(false);
}

} // namespace teskal
