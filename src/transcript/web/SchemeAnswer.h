#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <variant>

namespace teskal {

/// Why a request gets no response at all.
enum class SchemeFailure { FileDoesNotExist, UserAuthenticationRequired };

struct SchemeHeader {
    QByteArray name;
    QByteArray value;

    friend bool operator==(const SchemeHeader&, const SchemeHeader&) = default;
};

/// The bytes that a response sends: some of a file on disk, which is not read before it is sent, or of a
/// resource in memory.
struct SchemeBody {
    QString path;     ///< of the file; empty for a resource in memory
    QByteArray bytes; ///< the whole resource in memory
    qint64 first = 0; ///< the first byte that is sent
    qint64 count = 0; ///< how many are sent

    friend bool operator==(const SchemeBody&, const SchemeBody&) = default;
};

/// What an HTTP server would answer. The default is 404 without a body.
struct SchemeResponse {
    int status = 404;
    QList<SchemeHeader> headers; ///< in the order in which they are sent
    SchemeBody body;

    /// The value of a header; empty when there is none.
    QByteArray header(QByteArrayView name) const;

    friend bool operator==(const SchemeResponse&, const SchemeResponse&) = default;
};

/// What a request under the private scheme is answered with.
using SchemeAnswer = std::variant<SchemeResponse, SchemeFailure>;

} // namespace teskal
