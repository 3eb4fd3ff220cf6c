#include "SyncState.h"

#include "RecordFields.h"

#include <algorithm>

namespace teskal {

// An object whose keys are chats.
static void readValue(simdjson::dom::element element, SyncState::Times& times, Source) {
    simdjson::dom::object members;
    if (element.get(members))
        throw json::TypeMismatch();
    times.clear();
    for (const auto& [id, value] : members) {
        double time = 0;
        if (value.get(time))
            throw json::TypeMismatch();
        times.insert(json::toQString(id), time);
    }
}

static void writeValue(JsonWriter& writer, const SyncState::Times& times) {
    QStringList ids = times.keys();
    std::sort(ids.begin(), ids.end()); // the same state is the same file
    writer.beginObject();
    for (const QString& id : ids) {
        writer.key(QStringView(id));
        writer.number(times.value(id));
    }
    writer.endObject();
}

template<>
struct RecordFields<SyncState> {
    static constexpr auto list = std::tuple{
        requiredField("confirmed", &SyncState::confirmed),
        requiredField("deletes", &SyncState::deletes),
        requiredField("sentDeletes", &SyncState::sentDeletes),
    };
};

SyncState decodeSyncState(QByteArrayView text) {
    return decodeRecord<SyncState>(text, Source::LocalFile);
}

QByteArray encodeSyncState(const SyncState& state) {
    return encodeRecord(state);
}

} // namespace teskal
