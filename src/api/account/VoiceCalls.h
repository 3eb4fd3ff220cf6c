#pragma once

#include <QByteArray>
#include <QCoroTask>

#include <stop_token>

namespace teskal {

class TeskalAPI;

// Speech to text and text to speech. Calls throw as TeskalAPI says.

/// What was said in the recording \a audio of the MIME type \a contentType. JsonError for a reply without it.
QCoro::Task<QString> transcribeCall(TeskalAPI api, QByteArray audio, QString contentType,
                                    std::stop_token stop);
/// Audio to play in which \a text is read aloud.
QCoro::Task<QByteArray> speechCall(TeskalAPI api, QString text, std::stop_token stop);

} // namespace teskal
