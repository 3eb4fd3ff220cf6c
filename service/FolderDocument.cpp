#include "FolderDocument.h"

#include "CanonicalJson.h"

#include <algorithm>
#include <vector>

namespace teskal::service {

namespace {

constexpr double tombstoneLife = 365.0 * 24 * 60 * 60 * 1000; ///< ms

std::optional<double> numberMember(const Json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_number() ? std::optional(found->get<double>()) : std::nullopt;
}

bool isShort(const std::string& text) {
    return text.size() <= maxTextLength || utf16Length(text) <= maxTextLength;
}

bool isUsableId(const std::string& id) {
    return !id.empty() && isShort(id);
}

std::optional<Folder> readFolder(const Json& json) {
    if (!json.is_object())
        return std::nullopt;
    const auto id = stringMember(json, "id");
    const auto name = stringMember(json, "name");
    const auto order = numberMember(json, "order");
    const auto createdAt = numberMember(json, "createdAt");
    const auto updatedAt = numberMember(json, "updatedAt");
    if (!id || !name || !order || !createdAt || !updatedAt || !isUsableId(*id) || !isShort(*name))
        return std::nullopt;
    return Folder{*id, *name, *order, *createdAt, *updatedAt};
}

std::optional<FolderAssignment> readAssignment(const Json& json) {
    if (!json.is_object())
        return std::nullopt;
    const auto chatId = stringMember(json, "chatId");
    const auto updatedAt = numberMember(json, "updatedAt");
    const auto folder = json.find("folderId");
    const bool isFiled = folder != json.end() && !folder->is_null();
    const auto folderId = stringMember(json, "folderId");
    if (!chatId || !updatedAt || isFiled != folderId.has_value())
        return std::nullopt;
    if (!isUsableId(*chatId) || !isShort(folderId.value_or("")))
        return std::nullopt;
    return FolderAssignment{*chatId, folderId, *updatedAt};
}

template<typename Record>
bool wins(const Record& challenger, const Record& holder) {
    if (challenger.updatedAt != holder.updatedAt)
        return challenger.updatedAt > holder.updatedAt;
    // Most ties are between copies of one version, and their texts are not worth making.
    return challenger != holder && lessUtf16(canonicalText(holder), canonicalText(challenger));
}

template<typename Record>
void keepWinner(std::map<std::string, Record>& records, const std::string& key, const Record& record) {
    const auto [place, isNew] = records.try_emplace(key, record);
    if (!isNew && wins(record, place->second))
        place->second = record;
}

void keepLatest(std::map<std::string, double>& times, const std::string& key, double time) {
    const auto [place, isNew] = times.try_emplace(key, time);
    place->second = std::max(place->second, time);
}

const Json& listMember(const Json& json, const char* name) {
    static const Json none = Json::array();
    const auto found = json.find(name);
    return found != json.end() && found->is_array() ? *found : none;
}

template<typename Range, typename Write>
std::string joined(const Range& range, Write write) {
    std::string out;
    for (const auto& item : range) {
        if (!out.empty())
            out += ',';
        out += write(item);
    }
    return out;
}

} // namespace

FolderDocument FolderDocument::fromJson(const Json& json) {
    FolderDocument document;
    if (!json.is_object())
        return document;
    for (const Json& item : listMember(json, "folders")) {
        if (const auto folder = readFolder(item))
            keepWinner(document.folders, folder->id, *folder);
    }
    for (const Json& item : listMember(json, "assignments")) {
        if (const auto assignment = readAssignment(item))
            keepWinner(document.assignments, assignment->chatId, *assignment);
    }
    const auto deleted = json.find("deleted");
    if (deleted == json.end() || !deleted->is_object())
        return document;
    for (const auto& [id, time] : deleted->items()) {
        if (time.is_number() && isUsableId(id))
            document.deleted[id] = time.get<double>();
    }
    return document;
}

std::string FolderDocument::toText() const {
    std::vector<const Folder*> folderOrder;
    for (const auto& [id, folder] : folders)
        folderOrder.push_back(&folder);
    std::sort(folderOrder.begin(), folderOrder.end(), [](const Folder* a, const Folder* b) {
        return a->order != b->order ? a->order < b->order : lessUtf16(a->id, b->id);
    });
    std::vector<const FolderAssignment*> assignmentOrder;
    for (const auto& [chatId, assignment] : assignments)
        assignmentOrder.push_back(&assignment);
    std::sort(assignmentOrder.begin(), assignmentOrder.end(),
              [](const auto* a, const auto* b) { return lessUtf16(a->chatId, b->chatId); });
    return R"({"folders":[)" + joined(folderOrder, [](const Folder* f) { return canonicalText(*f); }) +
           R"(],"assignments":[)" +
           joined(assignmentOrder, [](const FolderAssignment* a) { return canonicalText(*a); }) +
           R"(],"deleted":{)" +
           joined(
               deleted,
               [](const auto& entry) { return stringText(entry.first) + ':' + numberText(entry.second); }) +
           "}}";
}

std::string canonicalText(const Folder& folder) {
    return R"({"createdAt":)" + numberText(folder.createdAt) + R"(,"id":)" + stringText(folder.id) +
           R"(,"name":)" + stringText(folder.name) + R"(,"order":)" + numberText(folder.order) +
           R"(,"updatedAt":)" + numberText(folder.updatedAt) + '}';
}

std::string canonicalText(const FolderAssignment& assignment) {
    return R"({"chatId":)" + stringText(assignment.chatId) + R"(,"folderId":)" +
           (assignment.folderId ? stringText(*assignment.folderId) : "null") + R"(,"updatedAt":)" +
           numberText(assignment.updatedAt) + '}';
}

FolderDocument merge(std::span<const FolderDocument> documents, std::int64_t nowMs) {
    const double oldest = static_cast<double>(nowMs) - tombstoneLife;
    FolderDocument merged;
    for (const FolderDocument& document : documents) {
        for (const auto& [id, time] : document.deleted) {
            if (time >= oldest)
                keepLatest(merged.deleted, id, time);
        }
        for (const auto& [id, folder] : document.folders)
            keepWinner(merged.folders, id, folder);
        for (const auto& [chatId, assignment] : document.assignments)
            keepWinner(merged.assignments, chatId, assignment);
    }
    std::erase_if(merged.folders, [&](const auto& entry) {
        const auto deletion = merged.deleted.find(entry.first);
        return deletion != merged.deleted.end() && deletion->second >= entry.second.updatedAt;
    });
    return merged;
}

} // namespace teskal::service
