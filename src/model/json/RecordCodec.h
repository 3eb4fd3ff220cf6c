#pragma once

#include <QByteArray>
#include <QList>

namespace teskal {

/// Where a record comes from decides what a mistyped optional member means.
enum class Source {
    LocalFile, ///< it counts as absent: one bad member must not cost the user a chat
    Wire,      ///< it is an error: the reply is not what it should be
};

/// Reads one record. Required members must be there with their type, unknown ones are ignored, null counts as
/// absent, of equal keys the last wins. Throws JsonError, which names the key.
/// Exists for the record types that instantiate it in their own source file (see RecordFields.h).
template<typename Record>
Record decodeRecord(QByteArrayView json, Source source);

/// Writes one record: keys in declared order, absent members left out.
template<typename Record>
QByteArray encodeRecord(const Record& record);

} // namespace teskal
