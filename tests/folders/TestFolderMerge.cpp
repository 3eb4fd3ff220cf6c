#include "Columns.h"
#include "FolderMerge.h"
#include "JsNumber.h"
#include "JsonError.h"
#include "RandomDocuments.h"

#include <bit>

using namespace teskal::test;

namespace {

constexpr double now = 1'800'000'000'000;
constexpr double year = 31'536'000'000;

FolderDocument documentOf(const QList<Folder>& folders, const QMap<QString, double>& deleted = {}) {
    return {folders, {}, deleted};
}

QStringList namesIn(const FolderDocument& document) {
    QStringList names;
    for (const Folder& folder : document.folders)
        names.append(folder.name);
    return names;
}

} // namespace

/// The merge of folder documents and their JSON.
class TestFolderMerge final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void numbersAsJavaScriptWritesThem_data() {
        const auto row = columns<quint64, QString>("bits", "text");
        // RFC 8785, appendix B
        const std::pair<quint64, const char*> numbers[] = {{0x0000000000000000, "0"},
                                                           {0x8000000000000000, "0"},
                                                           {0x0000000000000001, "5e-324"},
                                                           {0x7fefffffffffffff, "1.7976931348623157e+308"},
                                                           {0x4340000000000000, "9007199254740992"},
                                                           {0x4430000000000000, "295147905179352830000"},
                                                           {0x44b52d02c7e14af6, "1e+23"},
                                                           {0x444b1ae4d6e2ef4f, "999999999999999900000"},
                                                           {0x444b1ae4d6e2ef50, "1e+21"},
                                                           {0x3eb0c6f7a0b5ed8c, "9.999999999999997e-7"},
                                                           {0x3eb0c6f7a0b5ed8d, "0.000001"},
                                                           {0x41b3de4355555553, "333333333.3333332"},
                                                           {0xbecbf647612f3696, "-0.0000033333333333333333"},
                                                           {0x43143ff3c1cb0959, "1424953923781206.2"},
                                                           {0x7ff0000000000000, "Infinity"},
                                                           {0x7fffffffffffffff, "NaN"}};
        for (const auto& [bits, text] : numbers)
            row(bits == 0x8000000000000000 ? "minus zero" : text, bits, text);
    }
    void numbersAsJavaScriptWritesThem() {
        QFETCH(const quint64, bits);
        QTEST(jsNumber(std::bit_cast<double>(bits)), "text");
    }

    void canonicalTexts() {
        const Folder folder = folderOf(u"a\"\\/"_qs, u"é\b\t\n\f\r\x01\x1f\x7f😀"_qs, 12.5, 1e21);
        QCOMPARE(
            canonicalText(folder),
            u"{\"createdAt\":12.5,\"id\":\"a\\\"\\\\/\",\"name\":\"é\\b\\t\\n\\f\\r\\u0001\\u001f\x7f😀\","
            "\"order\":1e+21,\"updatedAt\":12.5}"_qs);
        FolderAssignment assignment{u"c1"_qs, std::nullopt, 0.5};
        QCOMPARE(canonicalText(assignment), u"{\"chatId\":\"c1\",\"folderId\":null,\"updatedAt\":0.5}"_qs);
        assignment.folderId = u"f"_qs;
        QCOMPARE(canonicalText(assignment), u"{\"chatId\":\"c1\",\"folderId\":\"f\",\"updatedAt\":0.5}"_qs);
    }

    void neitherOrderNorGroupingMatters() {
        for (unsigned seed = 1; seed <= 3'000; ++seed) {
            RandomDocuments documents(seed, now);
            const FolderDocument a = documents.next();
            const FolderDocument b = documents.next();
            const FolderDocument c = documents.next();
            const FolderDocument all = merged({a, b, c}, now);
            const char* broken = nullptr;
            if (merged({merged({a, b}, now), c}, now) != all || merged({a, merged({b, c}, now)}, now) != all)
                broken = "associative";
            else if (merged({c, a, b}, now) != all || merged({b, a}, now) != merged({a, b}, now))
                broken = "commutative";
            else if (merged({all}, now) != all || merged({all, all}, now) != all ||
                     merged({all, b}, now) != all)
                broken = "idempotent";
            else if (encodeFolderDocument(merged({c, b, a}, now)) != encodeFolderDocument(all))
                broken = "the same text";
            else if (decodeFolderDocument(encodeFolderDocument(all)) != all)
                broken = "readable again";
            QVERIFY2(!broken, qPrintable(u"seed %1: not %2"_qs.arg(seed).arg(QLatin1String(broken))));
        }
    }

    void winners_data() {
        // first: when a folder was named "first" here,; second: "second" there,; deleted: and deleted there
        const auto row = columns<double, double, double, QStringList>("first", "second", "deleted", "names");
        const QStringList first{u"first"_qs};
        const QStringList second{u"second"_qs};
        const double never = -1;
        row("later here", now, now - 1, never, first);
        row("later there", now - 1, now, never, second);
        row("tie", now, now, never, second);
        row("deleted at the time of the new name", now, now - 5, now, QStringList());
        row("deleted before the new name", now, now - 5, now - 1, first);
        row("deleted exactly a year ago", now - year, now - year - 1, now - year, QStringList());
        row("deleted longer ago", now - year - 1, now - year - 2, now - year - 1, first);
    }
    void winners() {
        FETCH(double, first, double, second, double, deleted);
        const QString id = u"f1"_qs;
        const FolderDocument here = documentOf({folderOf(id, u"first"_qs, first)});
        const FolderDocument there = documentOf({folderOf(id, u"second"_qs, second)}, {{id, deleted}});
        const FolderDocument both = merged({here, there}, now);
        QTEST(namesIn(both), "names");
        QCOMPARE(both.deleted.contains(id), deleted >= now - year);
    }

    void resultIsInOrder() {
        FolderDocument document =
            documentOf({folderOf(u"b"_qs, u"3"_qs, 1, 2), folderOf(u"\uFB33"_qs, u"2"_qs, 1, 1),
                        folderOf(u"😀"_qs, u"1"_qs, 1, 1), folderOf(u"z"_qs, u"0"_qs, 1, -1)});
        for (const char* chat : {"c", "a", "b", "a"})
            document.assignments.append(
                {QString::fromLatin1(chat), std::nullopt, double(document.assignments.size())});
        const FolderDocument result = merged({document}, now);
        QCOMPARE(namesIn(result).join(QString()), u"0123"_qs);
        const QList<FolderAssignment> expected{
            {u"a"_qs, std::nullopt, 3}, {u"b"_qs, std::nullopt, 2}, {u"c"_qs, std::nullopt, 0}};
        QVERIFY(result.assignments == expected);
    }

    void oneBadEntryCostsNothingElse() {
        const FolderDocument document = decodeFolderDocument(R"({
        "folders": [7, null, {"id": "f1", "name": "kept", "order": 0, "createdAt": 1, "updatedAt": 2, "more": []},
            {"id": "", "name": "x", "order": 0, "createdAt": 1, "updatedAt": 2},
            {"id": "f2", "order": 0, "createdAt": 1, "updatedAt": 2},
            {"id": "f3", "name": "x", "order": "0", "createdAt": 1, "updatedAt": 2},
            {"id": "f4", "name": "x", "order": 0, "createdAt": 1, "updatedAt": 1e999},
            {"id": "f5", "name": "kept", "order": -1e300, "createdAt": 1, "updatedAt": 1e300}],
        "assignments": [{"chatId": "c1", "updatedAt": 1}, {"chatId": "c2", "folderId": null, "updatedAt": 2},
            {"chatId": "c3", "folderId": "f1", "updatedAt": 3}, {"chatId": "", "updatedAt": 1}, [],
            {"chatId": "c4", "folderId": 4, "updatedAt": 3}, {"chatId": "c5", "folderId": "f1"}],
        "deleted": {"d1": 5, "d2": "6", "d3": null, "d4": -1e999, "": 3, "d5": [7]}})");
        QCOMPARE(namesIn(document), QStringList(2, u"kept"_qs));
        QCOMPARE(document.folders.last().updatedAt, 1e300);
        const QList<FolderAssignment> assignments{
            {u"c1"_qs, std::nullopt, 1}, {u"c2"_qs, std::nullopt, 2}, {u"c3"_qs, u"f1"_qs, 3}};
        QVERIFY(document.assignments == assignments);
        QCOMPARE(document.deleted, (QMap<QString, double>{{u"d1"_qs, 5}}));
        QVERIFY(decodeFolderDocument(R"({"folders": {}, "assignments": 3, "deleted": [1]})") ==
                FolderDocument());
    }

    void absurdSizesAreLeftOut() {
        FolderDocument document = documentOf(
            {folderOf(u"long"_qs, QString(4'097, u'x'), 1), folderOf(QString(4'097, u'x'), u"id"_qs, 1)});
        for (int i = 0; i < 10'001; ++i)
            document.folders.append(folderOf(QString::number(i), u"n"_qs, 1));
        const FolderDocument read = decodeFolderDocument(encodeFolderDocument(document));
        QCOMPARE(read.folders.size(), 10'000);
        QCOMPARE(read.folders.first().id, u"0"_qs);
    }

    void whatIsNoDocumentIsAnError() {
        for (const char* text : {"", "[]", "7", "{\"folders\":", "null"})
            QVERIFY_THROWS_EXCEPTION(JsonError, decodeFolderDocument(text));
    }
};

QTEST_GUILESS_MAIN(TestFolderMerge)
#include "TestFolderMerge.moc"
