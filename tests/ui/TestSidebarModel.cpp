#include "SidebarLibrary.h"
#include "sidebar/DateGrouping.h"
#include "sidebar/SidebarTree.h"
#include "theme/Theme.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

#include <random>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

constexpr double hour = 3'600'000;
constexpr double day = 24 * hour;

double at(const QString& local, const QByteArray& zone) {
    QDateTime time = QDateTime::fromString(local, Qt::ISODate);
    time.setTimeZone(QTimeZone(zone));
    return double(time.toMSecsSinceEpoch());
}

} // namespace

class TestSidebarModel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void ages_data();
    void ages();
    void daysEnd();
    void rowsOfFolders();
    void chatsOnTheirWayAreNotNone();
    void answersChangeNoRow();
    void everyOrderOfChanges_data();
    void everyOrderOfChanges();
};

void TestSidebarModel::ages_data() {
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QString>("now");
    QTest::addColumn<QString>("time");
    QTest::addColumn<QString>("group");
    const auto row = [](const char* name, const char* zone, const char* now, const char* time,
                        const char* group) {
        QTest::newRow(name) << QByteArray(zone) << QString::fromLatin1(now) << QString::fromLatin1(time)
                            << QString::fromLatin1(group);
    };
    const char* const today = "Today";
    const char* const yesterday = "Yesterday";
    const char* const week = "Previous 7 Days";
    const char* const month = "Previous 30 Days";
    row("early today", "Europe/Berlin", "2026-11-23T23:59:59", "2026-11-23T00:10:00", today);
    row("late yesterday", "Europe/Berlin", "2026-11-23T00:00:00", "2026-11-22T23:59:59", yesterday);
    row("the first of yesterday", "Europe/Berlin", "2026-11-23T23:59:59", "2026-11-22T00:00:00", yesterday);
    row("the day before", "Europe/Berlin", "2026-11-23T00:00:00", "2026-11-21T23:59:59", week);
    row("six days", "Europe/Berlin", "2026-11-23T12:00:00", "2026-11-17T12:00:00", week);
    row("a second less than seven", "Europe/Berlin", "2026-11-23T12:00:00", "2026-11-16T12:00:01", week);
    row("seven days", "Europe/Berlin", "2026-11-23T12:00:00", "2026-11-16T12:00:00", month);
    row("a second less than thirty", "Europe/Berlin", "2026-11-23T12:00:00", "2026-10-24T12:00:01", month);
    row("thirty days", "Europe/Berlin", "2026-11-23T12:00:00", "2026-10-24T12:00:00", "October 2026");
    row("end of a month", "Europe/Berlin", "2026-11-23T12:00:00", "2026-09-30T23:59:59", "September 2026");
    row("start of a month", "Europe/Berlin", "2026-11-23T12:00:00", "2026-10-01T00:00:00", "October 2026");
    row("another year", "Europe/Berlin", "2026-01-01T00:00:00", "2025-03-31T12:00:00", "March 2025");
    row("new year's eve", "Europe/Berlin", "2026-01-01T00:30:00", "2025-12-31T23:30:00", yesterday);
    row("leap day", "Europe/Berlin", "2024-03-01T08:00:00", "2024-02-29T20:00:00", yesterday);
    row("the future", "Europe/Berlin", "2026-11-23T12:00:00", "2026-12-24T12:00:00", today);
    // A day of 23 and one of 25 hours are days.
    row("clocks went on", "Europe/Berlin", "2026-03-30T00:10:00", "2026-03-29T00:20:00", yesterday);
    row("seven days with a short one", "Europe/Berlin", "2026-03-30T12:00:00", "2026-03-23T12:00:00", month);
    row("clocks went back", "Europe/Berlin", "2026-10-25T23:50:00", "2026-10-25T00:10:00", today);
    row("less than seven with a long one", "Europe/Berlin", "2026-10-26T12:00:00", "2026-10-19T12:00:01",
        week);
    row("no midnight on that day", "America/Santiago", "2026-09-06T02:00:00", "2026-09-06T01:00:00", today);
    row("before the missing midnight", "America/Santiago", "2026-09-06T02:00:00", "2026-09-05T23:59:59",
        yesterday);
    row("far east", "Pacific/Kiritimati", "2026-11-23T00:30:00", "2026-11-22T23:30:00", yesterday);
}

void TestSidebarModel::ages() {
    QFETCH(const QByteArray, zone);
    QFETCH(const QString, now);
    QFETCH(const QString, time);
    const DateGrouping grouping(at(now, zone), QTimeZone(zone), QLocale(QLocale::English));
    const DateGrouping::Group group = grouping.groupOf(at(time, zone));
    QTEST(group.title, "group");
    QVERIFY(group.begin <= at(time, zone) && grouping.groupOf(group.begin).title == group.title);
    QVERIFY(grouping.groupOf(group.begin - 1).title != group.title);
}

void TestSidebarModel::daysEnd() {
    SidebarLibrary library(at(QStringLiteral("2026-11-23T23:00:00"), "Europe/Berlin"));
    library.add(QStringLiteral("Before"), day);
    const QString chat = library.add(QStringLiteral("Now"), 1 * hour);
    SidebarModel rows(library.sources());
    library.clock.advance(59min + 59s + 999ms);
    QCOMPARE(rows.chatIndex(chat).parent().data().toString(), QStringLiteral("Today"));
    QSignalSpy reset(&rows, &QAbstractItemModel::modelReset);
    library.clock.advance(1ms);
    QCOMPARE(linesOf(rows), (QStringList{QStringLiteral("Yesterday"), QStringLiteral("  Now"),
                                         QStringLiteral("Previous 7 Days"), QStringLiteral("  Before")}));
    QCOMPARE(reset.count(), 0);
}

void TestSidebarModel::rowsOfFolders() {
    SidebarLibrary library;
    const QString one = library.add(QStringLiteral("One\nand more"));
    const QString two = library.add(QStringLiteral("Two"));
    const QString work = library.addFolder(QStringLiteral("Work"), {one});
    library.addFolder(QStringLiteral("Home"));
    SidebarModel rows(library.sources());
    QCOMPARE(linesOf(rows),
             (QStringList{QStringLiteral("Work"), QStringLiteral("  One"), QStringLiteral("Home"),
                          QStringLiteral("  Drop chats here to file them in this folder"),
                          QStringLiteral("Today"), QStringLiteral("  Two")}));
    QCOMPARE(rows.index(0, 0).data(SidebarCountRole).toInt(), 1);

    QSignalSpy stored(&rows, &SidebarModel::collapsedChanged);
    rows.setFolderOpen(work, false);
    QVERIFY(!rows.index(0, 0).data(SidebarOpenRole).toBool());
    QVERIFY(library.look(QStringLiteral("ONE")));
    QCOMPARE(linesOf(rows), (QStringList{QStringLiteral("Work"), QStringLiteral("  One")}));
    QVERIFY2(rows.index(0, 0).data(SidebarOpenRole).toBool(), "a search shows what is in the folder");
    rows.setFolderOpen(work, false);
    rows.setFolderOpen(work, true);
    QVERIFY(library.look(QStringLiteral("  ")));
    QCOMPARE(rows.collapsed(), QSet<QString>{work});
    QVERIFY(!rows.index(0, 0).data(SidebarOpenRole).toBool());
    QCOMPARE(stored.count(), 1);
}

void TestSidebarModel::chatsOnTheirWayAreNotNone() {
    SidebarLibrary library;
    using Emptiness = SidebarModel::Emptiness;
    library.add(QStringLiteral("Tea"), 0, QStringLiteral("Leaves"));
    library.store.claim(QStringLiteral("another"));
    SidebarModel rows(library.sources());
    QCOMPARE(rows.emptiness(), Emptiness::NoChats);
    library.search.search(QStringLiteral("LEAVES"));
    library.store.holdReading(true);
    library.store.claim(QStringLiteral("account"));
    QCOMPARE(rows.emptiness(), Emptiness::None);
    QCOMPARE(linesOf(rows), QStringList());
    library.store.holdReading(false);
    library.store.finishLoading();
    QVERIFY(library.look(QStringLiteral("leaves")));
    QCOMPARE(rows.emptiness(), Emptiness::None);
    QCOMPARE(linesOf(rows), (QStringList{QStringLiteral("Today"), QStringLiteral("  Tea")}));
}

void TestSidebarModel::answersChangeNoRow() {
    SidebarLibrary library;
    const QString chat = library.add(QStringLiteral("Tea"));
    library.add(QStringLiteral("Bread"));
    SidebarModel rows(library.sources());
    QSignalSpy changed(&rows, &QAbstractItemModel::dataChanged);
    QSignalSpy moved(&rows, &QAbstractItemModel::rowsMoved);
    const auto grow = [](ChatMessage& message) { message.content += QStringLiteral(" word"); };
    for (int update = 0; update < 10; ++update)
        library.store.updateMessage(chat, QStringLiteral("m"), ChatStore::Touch::No, ChatStore::Save::No,
                                    grow);
    QCOMPARE(changed.count() + moved.count(), 0);
    library.answering.insert(chat);
    rows.updateAnswering(chat);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.at(0).at(0).toModelIndex(), rows.chatIndex(chat));
    QVERIFY(rows.chatIndex(chat).data(SidebarAnsweringRole).toBool());
}

void TestSidebarModel::everyOrderOfChanges_data() {
    QTest::addColumn<unsigned>("seed");
    for (const unsigned seed : {1U, 2U, 3U, 4U})
        QTest::addRow("seed %u", seed) << seed;
}

/// Whatever happens in whatever order: the rows are those that a new model would have, the signals are those
/// of the changes, and the view shows what is open.
void TestSidebarModel::everyOrderOfChanges() {
    QFETCH(const unsigned, seed);
    std::mt19937 random(seed);
    const auto below = [&random](int limit) { return int(random() % unsigned(std::max(limit, 1))); };
    SidebarLibrary library(at(QStringLiteral("2026-10-23T22:00:00"), "Europe/Berlin"));
    Theme theme;
    SidebarModel rows(library.sources());
    const QAbstractItemModelTester tester(&rows, QAbstractItemModelTester::FailureReportingMode::QtTest);
    SidebarTree tree(theme);
    tree.setRows(&rows);
    tree.resize(268, 600);
    tree.show();

    const auto chat = [&] {
        const int count = library.store.count();
        return count > 0 ? library.store.at(below(count)).id : QString();
    };
    const auto folder = [&]() -> QString {
        const QList<Folder>& folders = library.folders.folders();
        return folders.isEmpty() ? QString() : folders.at(below(int(folders.size()))).id;
    };
    const QStringList words{QStringLiteral("tea"), QStringLiteral("bread"), QStringLiteral("salt"),
                            QString()};
    bool searches = false;
    const std::vector<std::function<void()>> changes{
        [&] { library.add(words[below(3)], double(below(70)) * day + double(below(1440)) * 60'000); },
        [&] { library.store.create(words[below(3)]); },
        [&] { library.store.rename(chat(), words[below(3)]); },
        [&] {
            library.store.updateMessage(chat(), QStringLiteral("m"), ChatStore::Touch::Yes,
                                        ChatStore::Save::No,
                                        [&](ChatMessage& message) { message.content += words[below(3)]; });
        },
        [&] { library.store.remove(chat()); },
        [&] {
            if (const Chat* old = library.store.chat(chat())) {
                Chat other = *old;
                other.updatedAt = library.clock.nowMs() - double(below(50)) * day;
                library.store.upsertQuiet(other);
            }
        },
        [&] { library.clock.advance(std::chrono::minutes(below(300))); },
        [&] { library.folders.create(words[below(3)]); },
        [&] { library.folders.rename(folder(), words[below(3)]); },
        [&] {
            if (below(3) == 0)
                library.folders.remove(folder());
        },
        [&] {
            library.folders.assign({chat(), chat(), chat()}, folder());
        },
        [&] { library.folders.assign({chat()}, std::nullopt); },
        [&] { rows.setCollapsed({folder()}); },
        [&] {
            searches = below(2) == 0;
            QVERIFY(library.look(searches ? words[below(3)] : QString()));
        },
    };
    for (int round = 0; round < 250; ++round) {
        const auto change = std::size_t(below(int(changes.size())));
        changes[change]();
        if (below(4) == 0)
            QCoreApplication::processEvents();
        if (searches)
            QVERIFY(library.look(library.search.query()));
        const SidebarModel fresh(library.sources());
        QCOMPARE(linesOf(rows), linesOf(fresh));
        QCOMPARE(rows.emptiness(), fresh.emptiness());
        for (int row = 0; row < rows.rowCount(); ++row) {
            const QModelIndex index = rows.index(row, 0);
            QCOMPARE(tree.isExpanded(index), index.data(SidebarOpenRole).toBool());
        }
    }
}

int main(int argc, char** argv) {
    qputenv("TZ", "Europe/Berlin");
    QApplication application(argc, argv);
    TestSidebarModel test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestSidebarModel.moc"
