#include "FolderDocument.h"

#include "JsonError.h"
#include "RecordFields.h"

#include <cmath>

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

// Far beyond what people make; a peer gone wrong must not fill this machine's memory and disk.
constexpr qsizetype maxTextLength = 4'096; // UTF-16 code units
constexpr qsizetype maxFolders = 10'000;
constexpr qsizetype maxAssignments = 200'000;
constexpr qsizetype maxDeletions = 50'000;

bool isIdentifier(const QString& text) {
    return !text.isEmpty() && text.size() <= maxTextLength;
}

bool isUsable(const Folder& folder) {
    return isIdentifier(folder.id) && folder.name.size() <= maxTextLength && std::isfinite(folder.order) &&
           std::isfinite(folder.createdAt) && std::isfinite(folder.updatedAt);
}

bool isUsable(const FolderAssignment& assignment) {
    return isIdentifier(assignment.chatId) &&
           assignment.folderId.value_or(QString()).size() <= maxTextLength &&
           std::isfinite(assignment.updatedAt);
}

template<typename Record>
QList<Record> readLossy(simdjson::dom::element document, const char* key, qsizetype limit) {
    QList<Record> records;
    simdjson::dom::array elements;
    if (document[key].get(elements))
        return records;
    for (const simdjson::dom::element element : elements) {
        if (records.size() == limit)
            break;
        try {
            Record record;
            json::readValue(element, record, Source::Wire);
            if (isUsable(record))
                records.append(std::move(record));
        } catch (const JsonError&) {
            continue;
        }
    }
    return records;
}

QMap<QString, double> readTimes(simdjson::dom::element document, const char* name) {
    QMap<QString, double> times;
    simdjson::dom::object members;
    if (document[name].get(members))
        return times;
    for (const auto& [key, value] : members) {
        const QString id = json::toQString(key);
        double time = 0;
        if (times.size() < maxDeletions && isIdentifier(id) && !value.get(time) && std::isfinite(time))
            times.insert(id, time);
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
    document.folders = readLossy<Folder>(element, "folders", maxFolders);
    document.assignments = readLossy<FolderAssignment>(element, "assignments", maxAssignments);
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
    for (auto it = document.deleted.cbegin(); it != document.deleted.cend(); ++it) {
        writer.key(QStringView(it.key()));
        writer.number(it.value());
    }
    writer.endObject();
    writer.endObject();
    return writer.take();
}

} // namespace teskal
