#include "RandomDocuments.h"

namespace teskal::test {

namespace {

constexpr double year = 31'536'000'000; // ms

} // namespace

QString RandomDocuments::identifier() {
    // The last two are in another order by code points than by UTF-16 code units.
    static const QList<QString> all{u"f1"_qs,      u"f2"_qs,    u"F2"_qs,     u"é"_qs,
                                    u"a\"\\\n"_qs, u"a\x1f"_qs, u"\uFB33"_qs, u"😀"_qs};
    return anyOf(all);
}

double RandomDocuments::time() {
    const QList<double> all{now_ - 2 * year,
                            now_ - year - 60'000,
                            now_ - year + 600'000,
                            now_ - 2,
                            now_ - 1,
                            now_ - 0.5,
                            now_,
                            now_ + 1,
                            1e21,
                            -1,
                            0};
    return anyOf(all);
}

Folder RandomDocuments::folder() {
    static const QList<double> orders{0, 1, -0.0, 0.1 + 0.2, 1e21, 1e-7, -5, 123456789012345680000.0};
    Folder folder = folderOf(identifier(), identifier(), time(), anyOf(orders));
    folder.createdAt = anyOf(orders);
    return folder;
}

FolderAssignment RandomDocuments::assignment() {
    FolderAssignment assignment;
    assignment.chatId = identifier();
    if (below(3) > 0)
        assignment.folderId = identifier();
    assignment.updatedAt = time();
    return assignment;
}

FolderDocument RandomDocuments::next() {
    FolderDocument document;
    for (int i = below(7); i > 0; --i)
        document.folders.append(folder());
    for (int i = below(9); i > 0; --i)
        document.assignments.append(assignment());
    for (int i = below(4); i > 0; --i)
        document.deleted.insert(identifier(), time());
    return document;
}

Folder folderOf(const QString& id, const QString& name, double updatedAt, double order) {
    Folder folder;
    folder.id = id;
    folder.name = name;
    folder.order = order;
    folder.createdAt = updatedAt;
    folder.updatedAt = updatedAt;
    return folder;
}

} // namespace teskal::test
