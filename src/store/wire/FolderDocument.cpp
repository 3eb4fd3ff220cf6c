#include "FolderDocument.h"

#include "JsonError.h"
#include "RecordFields.h"

namespace teskal {

template<>
struct RecordFields<Folder> {
    static constexpr auto list = std::tuple{
        requiredField("id", &Folder::id),
        requiredField("name", &Folder::name),
        requiredField("order", &Folder::order),
        requiredField("createdAt", &Folder::createdAt),
        requiredField("updatedAt", &Folder::updatedAt),
    };
};

template<>
struct RecordFields<FolderAssignment> {
    static constexpr auto list = std::tuple{
        requiredField("chatId", &FolderAssignment::chatId),
        optionalField("folderId", &FolderAssignment::folderId),
        requiredField("updatedAt", &FolderAssignment::updatedAt),
    };
};

namespace {

template<typename Record>
QList<Record> readLossy(simdjson::dom::element document, const char* key) {
    QList<Record> records;
    simdjson::dom::array elements;
    if (document[key].get(elements))
        return records;
    for (const simdjson::dom::element element : elements) {
        try {
            Record record;
            json::readValue(element, record, Source::Wire);
            records.append(std::move(record));
        } catch (const JsonError&) {
            continue;
        }
    }
    return records;
}

QMap<QString, double> readTimes(simdjson::dom::element document, const char* key) {
    QMap<QString, double> times;
    simdjson::dom::object members;
    if (document[key].get(members))
        return times;
    for (const auto& [id, value] : members) {
        double time = 0;
        if (!value.get(time))
            times.insert(json::toQString(id), time);
    }
    return times;
}

bool hasMember(simdjson::dom::element object, const char* key) {
    return !object[key].error();
}

FolderDocument readDocument(simdjson::dom::element element) {
    if (!element.is_object())
        throw json::TypeMismatch();
    FolderDocument document;
    document.folders = readLossy<Folder>(element, "folders");
    document.assignments = readLossy<FolderAssignment>(element, "assignments");
    document.deleted = readTimes(element, "deleted");
    return document;
}

} // namespace

FolderDocument decodeFolderDocument(QByteArrayView text) {
    json::JsonText reader;
    return readDocument(reader.parse(text));
}

std::optional<FolderDocument> decodeFolderReply(QByteArrayView text) {
    json::JsonText reader;
    const simdjson::dom::element root = reader.parse(text);
    simdjson::dom::element inner;
    if (!root["document"].get(inner) && !inner.is_null())
        return readDocument(inner);
    const bool isDocument =
        hasMember(root, "folders") || hasMember(root, "assignments") || hasMember(root, "deleted");
    if (root.is_object() && !isDocument)
        return std::nullopt;
    return readDocument(root);
}

QByteArray encodeFolderDocument(const FolderDocument& document) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("folders");
    json::writeValue(writer, document.folders);
    writer.key("assignments");
    json::writeValue(writer, document.assignments);
    writer.key("deleted");
    writer.beginObject();
    for (const auto& [id, time] : document.deleted.toStdMap()) {
        writer.key(id);
        writer.number(time);
    }
    writer.endObject();
    writer.endObject();
    return writer.take();
}

} // namespace teskal
