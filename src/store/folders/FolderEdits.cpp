#include "FolderEdits.h"

#include "FolderMerge.h"
#include "Timestamp.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace teskal {

namespace {

bool isBefore(const FolderAssignment& assignment, const QString& chatId) {
    return assignment.chatId < chatId;
}

/// touchedTime for times of other devices, too, which may be so large that adding one changes nothing.
double laterTime(double nowMs, double previousMs) {
    constexpr double largest = std::numeric_limits<double>::max();
    return std::min(std::max(touchedTime(nowMs, previousMs), std::nextafter(previousMs, HUGE_VAL)), largest);
}

qsizetype indexOfFolder(const FolderDocument& document, const QString& id) {
    const auto it = std::find_if(document.folders.cbegin(), document.folders.cend(),
                                 [&id](const Folder& folder) { return folder.id == id; });
    return it == document.folders.cend() ? -1 : it - document.folders.cbegin();
}

/// The identifiers in order, each once, without empty ones.
QStringList sortedIds(const QStringList& ids) {
    QStringList sorted = ids;
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    sorted.removeAll(QString());
    return sorted;
}

} // namespace

const Folder* findFolder(const FolderDocument& document, const QString& id) {
    const qsizetype index = indexOfFolder(document, id);
    return index < 0 ? nullptr : &document.folders[index];
}

void addFolder(FolderDocument& document, const QString& id, const QString& name, double nowMs) {
    QList<Folder>& folders = document.folders;
    Folder folder;
    folder.id = id;
    folder.name = name;
    folder.order = folders.isEmpty() ? 0 : folders.constLast().order + 1;
    folder.createdAt = nowMs;
    folder.updatedAt = nowMs;
    folders.insert(std::upper_bound(folders.begin(), folders.end(), folder, comesBefore), folder);
}

bool renameFolder(FolderDocument& document, const QString& id, const QString& name, double nowMs) {
    const qsizetype index = indexOfFolder(document, id);
    if (index < 0)
        return false;
    Folder& folder = document.folders[index];
    folder.name = name;
    folder.updatedAt = laterTime(nowMs, folder.updatedAt);
    return true;
}

bool removeFolder(FolderDocument& document, const QString& id, double nowMs, FilingTimes& removed) {
    const qsizetype index = indexOfFolder(document, id);
    if (index < 0)
        return false;
    document.deleted.insert(id, laterTime(nowMs, document.folders[index].updatedAt));
    document.folders.removeAt(index);
    document.assignments.removeIf([&](const FolderAssignment& assignment) {
        if (assignment.folderId != id)
            return false;
        removed.insert(assignment.chatId, assignment.updatedAt);
        return true;
    });
    return true;
}

bool assignChats(FolderDocument& document, const QStringList& chatIds, const std::optional<QString>& folderId,
                 double nowMs, const FilingTimes& removed) {
    constexpr double never = -std::numeric_limits<double>::max();
    if (folderId && !findFolder(document, *folderId))
        return false;
    const QStringList ids = sortedIds(chatIds);
    QList<FolderAssignment>& assignments = document.assignments;
    const qsizetype known = assignments.size();
    for (const QString& id : ids) {
        const auto end = assignments.begin() + known;
        const auto place = std::lower_bound(assignments.begin(), end, id, isBefore);
        if (place != end && place->chatId == id) {
            place->folderId = folderId;
            place->updatedAt = laterTime(nowMs, place->updatedAt);
        } else {
            assignments.append(FolderAssignment{id, folderId, laterTime(nowMs, removed.value(id, never))});
        }
    }
    std::inplace_merge(
        assignments.begin(), assignments.begin() + known, assignments.end(),
        [](const FolderAssignment& a, const FolderAssignment& b) { return isBefore(a, b.chatId); });
    return !ids.isEmpty();
}

bool unfileChats(FolderDocument& document, const QStringList& chatIds, double nowMs) {
    QStringList filed;
    for (const QString& id : chatIds) {
        const auto place =
            std::lower_bound(document.assignments.cbegin(), document.assignments.cend(), id, isBefore);
        if (place != document.assignments.cend() && place->chatId == id && place->folderId)
            filed.append(id);
    }
    return assignChats(document, filed, std::nullopt, nowMs, {});
}

} // namespace teskal
