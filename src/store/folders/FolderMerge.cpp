#include "FolderMerge.h"

#include "JsNumber.h"

#include <algorithm>
#include <vector>

namespace teskal {

namespace {

constexpr double tombstoneLifeMs = 31'536'000'000; // 365 days

QString escaped(QChar unit) {
    switch (unit.unicode()) {
    case u'"':
        return QStringLiteral("\\\"");
    case u'\\':
        return QStringLiteral("\\\\");
    case u'\b':
        return QStringLiteral("\\b");
    case u'\t':
        return QStringLiteral("\\t");
    case u'\n':
        return QStringLiteral("\\n");
    case u'\f':
        return QStringLiteral("\\f");
    case u'\r':
        return QStringLiteral("\\r");
    default:
        return unit < u' ' ? QStringLiteral("\\u%1").arg(unit.unicode(), 4, 16, QLatin1Char('0'))
                           : QString(unit);
    }
}

QString quoted(const QString& text) {
    QString result(u'"');
    for (const QChar unit : text)
        result += escaped(unit);
    return result + u'"';
}

template<typename Record>
bool beats(const Record& a, const Record& b) {
    if (a.updatedAt != b.updatedAt)
        return a.updatedAt > b.updatedAt;
    return a != b && canonicalText(a) > canonicalText(b);
}

/// All versions of all records by \a key. The lists of a merged document cost nothing to sort again.
template<typename Record>
std::vector<const Record*> allByKey(const QList<FolderDocument>& documents,
                                    QList<Record> FolderDocument::*list, QString Record::*key) {
    const auto byKey = [key](const Record* a, const Record* b) { return a->*key < b->*key; };
    std::vector<const Record*> all;
    for (const FolderDocument& document : documents) {
        const auto before = std::ptrdiff_t(all.size());
        for (const Record& record : document.*list)
            all.push_back(&record);
        const auto added = all.begin() + before;
        if (!std::is_sorted(added, all.end(), byKey))
            std::sort(added, all.end(), byKey);
        std::inplace_merge(all.begin(), added, all.end(), byKey);
    }
    return all;
}

template<typename Record>
QList<Record> winners(const QList<FolderDocument>& documents, QList<Record> FolderDocument::*list,
                      QString Record::*key) {
    const std::vector<const Record*> all = allByKey(documents, list, key);
    QList<Record> result;
    result.reserve(qsizetype(all.size()));
    for (auto it = all.begin(); it != all.end();) {
        const Record* best = *it;
        for (++it; it != all.end() && (*it)->*key == best->*key; ++it)
            if (beats(**it, *best))
                best = *it;
        result.append(*best);
    }
    return result;
}

QMap<QString, double> deletions(const QList<FolderDocument>& documents, double nowMs) {
    QMap<QString, double> latest;
    for (const FolderDocument& document : documents) {
        for (auto it = document.deleted.cbegin(); it != document.deleted.cend(); ++it) {
            if (it.value() < nowMs - tombstoneLifeMs)
                continue;
            const auto known = latest.find(it.key());
            if (known == latest.end())
                latest.insert(it.key(), it.value());
            else
                *known = std::max(*known, it.value());
        }
    }
    return latest;
}

} // namespace

FolderDocument merged(const QList<FolderDocument>& documents, double nowMs) {
    FolderDocument result;
    result.deleted = deletions(documents, nowMs);
    result.folders = winners(documents, &FolderDocument::folders, &Folder::id);
    result.folders.removeIf([&result](const Folder& folder) {
        const auto deletion = result.deleted.constFind(folder.id);
        return deletion != result.deleted.cend() && *deletion >= folder.updatedAt;
    });
    std::sort(result.folders.begin(), result.folders.end(), comesBefore);
    result.assignments = winners(documents, &FolderDocument::assignments, &FolderAssignment::chatId);
    return result;
}

QString canonicalText(const Folder& folder) {
    return QStringLiteral("{\"createdAt\":") + jsNumber(folder.createdAt) + QStringLiteral(",\"id\":") +
           quoted(folder.id) + QStringLiteral(",\"name\":") + quoted(folder.name) +
           QStringLiteral(",\"order\":") + jsNumber(folder.order) + QStringLiteral(",\"updatedAt\":") +
           jsNumber(folder.updatedAt) + u'}';
}

QString canonicalText(const FolderAssignment& assignment) {
    const QString folder = assignment.folderId ? quoted(*assignment.folderId) : QStringLiteral("null");
    return QStringLiteral("{\"chatId\":") + quoted(assignment.chatId) + QStringLiteral(",\"folderId\":") +
           folder + QStringLiteral(",\"updatedAt\":") + jsNumber(assignment.updatedAt) + u'}';
}

} // namespace teskal
