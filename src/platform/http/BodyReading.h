#pragma once

#include "HttpSession.h"

namespace teskal {

/// The rest of the body of \a stream. Throws HttpError (TooLarge) when it is more than \a limit bytes, and as
/// HttpStream::read does. \a stream must outlive the call.
QCoro::Task<QByteArray> readRest(HttpStream* stream, qsizetype limit, std::stop_token token);

/// The body of a reply that failed. Empty when it does not arrive whole or is no text of a decent length: the
/// status says enough by itself. Throws Cancelled. \a stream must outlive the call.
QCoro::Task<QByteArray> readErrorBody(HttpStream* stream, std::stop_token token);

/// Writes the body of \a stream to a new file beside \a destination as it arrives, and puts it in its place
/// once it is whole; whatever was there before is replaced then. Readable by the user alone. When this throws
/// (HttpError, FileError, Cancelled), the new file is gone and \a destination is as it was.
QCoro::Task<void> saveRest(std::unique_ptr<HttpStream> stream, QString destination, std::stop_token token);

} // namespace teskal
