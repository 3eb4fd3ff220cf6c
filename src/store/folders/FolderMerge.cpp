#include "FolderMerge.h"

#include "JsNumber.h"

#include <algorithm>
#include <vector>

namespace teskal {

namespace {

constexpr double tombstoneLifeMs = 31'536'000'000; // 365 days

bool needsEscape(QChar unit) {
    return unit < u' ' || unit == u'"' || unit == u'\\';
}

QString escaped(QChar unit) {
    switch (unit.unicode()) {
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
    case u'"':
    case u'\\':
        return QLatin1Char('\\') + QString(unit);
    default:
        return QStringLiteral("\\u%1").arg(unit.unicode(), 4, 16, QLatin1Char('0'));
    }
}

/// Builds a canonical text; the names of its members are our own and need no escaping.
class CanonicalWriter {
public:
    CanonicalWriter() { text_.reserve(192); }

    void member(QLatin1String name, const QString& text) {
        key(name);
        text_ += u'"';
        qsizetype written = 0;
        for (qsizetype i = 0; i < text.size(); ++i) {
            if (!needsEscape(text[i]))
                continue;
            text_ += QStringView(text).sliced(written, i - written);
            text_ += escaped(text[i]);
            written = i + 1;
        }
        text_ += QStringView(text).sliced(written);
        text_ += u'"';
    }
    void member(QLatin1String name, const std::optional<QString>& text) {
        if (text)
            return member(name, *text);
        key(name);
        text_ += QLatin1String("null");
    }
    void member(QLatin1String name, double number) {
        key(name);
        text_ += jsNumber(number);
    }
    QString take() { return std::move(text_ += u'}'); }

private:
    void key(QLatin1String name) {
        text_ += text_.isEmpty() ? u'{' : u',';
        text_ += u'"';
        text_ += name;
        text_ += QLatin1String("\":");
    }

    QString text_;
};

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
    CanonicalWriter writer;
    writer.member(QLatin1String("createdAt"), folder.createdAt);
    writer.member(QLatin1String("id"), folder.id);
    writer.member(QLatin1String("name"), folder.name);
    writer.member(QLatin1String("order"), folder.order);
    writer.member(QLatin1String("updatedAt"), folder.updatedAt);
    return writer.take();
}

QString canonicalText(const FolderAssignment& assignment) {
    CanonicalWriter writer;
    writer.member(QLatin1String("chatId"), assignment.chatId);
    writer.member(QLatin1String("folderId"), assignment.folderId);
    writer.member(QLatin1String("updatedAt"), assignment.updatedAt);
    return writer.take();
}

} // namespace teskal
