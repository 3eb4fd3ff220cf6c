#pragma once

#include "FolderDocument.h"

#include <random>

namespace teskal::test {

/// A folder of these members.
inline Folder folderOf(const QString& id, const QString& name, double updatedAt, double order = 0) {
    return {id, name, order, updatedAt, updatedAt};
}

/// Folder documents of few identifiers, names, times and numbers, so that nearly everything meets and ties.
/// Their lists are in no order and hold entries twice. The same seed gives the same documents.
class RandomDocuments {
public:
    /// \a nowMs is the time at which they are to be merged; some deletions are just over or under a year old.
    RandomDocuments(unsigned seed, double nowMs) : random_(seed), now_(nowMs) {}

    FolderDocument next() {
        FolderDocument document;
        for (int i = below(7); i > 0; --i)
            document.folders.append(folder());
        for (int i = below(9); i > 0; --i)
            document.assignments.append(assignment());
        for (int i = below(4); i > 0; --i)
            document.deleted.insert(identifier(), time());
        return document;
    }

private:
    int below(int limit) { return int(random_() % unsigned(limit)); }
    template<typename T>
    const T& anyOf(const QList<T>& list) {
        return list[below(int(list.size()))];
    }
    QString identifier() {
        // The last two are in another order by code points than by UTF-16 code units.
        static const QList<QString> all{u"f1"_qs,      u"f2"_qs,    u"F2"_qs,     u"é"_qs,
                                        u"a\"\\\n"_qs, u"a\x1f"_qs, u"\uFB33"_qs, u"😀"_qs};
        return anyOf(all);
    }
    double time() {
        static const QList<double> fromNow{-2 * year, -year - 60'000, -year + 600'000, -2, -1, -0.5, 0, 1};
        static const QList<double> fixed{1e21, -1, 0};
        const int which = below(int(fromNow.size() + fixed.size()));
        return which < fromNow.size() ? now_ + fromNow[which] : fixed[which - fromNow.size()];
    }
    Folder folder() {
        static const QList<double> orders{0, 1, -0.0, 0.1 + 0.2, 1e21, 1e-7, -5, 123456789012345680000.0};
        Folder folder = folderOf(identifier(), identifier(), time(), anyOf(orders));
        folder.createdAt = anyOf(orders);
        return folder;
    }
    FolderAssignment assignment() {
        FolderAssignment assignment{identifier(), std::nullopt, 0};
        if (below(3) > 0)
            assignment.folderId = identifier();
        assignment.updatedAt = time();
        return assignment;
    }

    static constexpr double year = 31'536'000'000; // ms

    std::mt19937 random_;
    double now_;
};

} // namespace teskal::test
