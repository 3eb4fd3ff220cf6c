#include "Columns.h"
#include "SidebarLibrary.h"
#include "sidebar/DateGrouping.h"
#include "sidebar/SidebarTree.h"
#include "theme/Theme.h"

#include <QAbstractItemModelTester>

#include <random>

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
    void ages_data() {
        // zone: that of Berlin when empty
        const auto row = columns<QString, QString, QString, QByteArray>("now", "time", "group", "zone");
        const char* const today = "Today";
        const char* const yesterday = "Yesterday";
        const char* const week = "Previous 7 Days";
        const char* const month = "Previous 30 Days";
        row("early today", "2026-11-23T23:59:59", "2026-11-23T00:10:00", today);
        row("late yesterday", "2026-11-23T00:00:00", "2026-11-22T23:59:59", yesterday);
        row("the first of yesterday", "2026-11-23T23:59:59", "2026-11-22T00:00:00", yesterday);
        row("the day before", "2026-11-23T00:00:00", "2026-11-21T23:59:59", week);
        row("six days", "2026-11-23T12:00:00", "2026-11-17T12:00:00", week);
        row("a second less than seven", "2026-11-23T12:00:00", "2026-11-16T12:00:01", week);
        row("seven days", "2026-11-23T12:00:00", "2026-11-16T12:00:00", month);
        row("a second less than thirty", "2026-11-23T12:00:00", "2026-10-24T12:00:01", month);
        row("thirty days", "2026-11-23T12:00:00", "2026-10-24T12:00:00", "October 2026");
        row("end of a month", "2026-11-23T12:00:00", "2026-09-30T23:59:59", "September 2026");
        row("start of a month", "2026-11-23T12:00:00", "2026-10-01T00:00:00", "October 2026");
        row("another year", "2026-01-01T00:00:00", "2025-03-31T12:00:00", "March 2025");
        row("new year's eve", "2026-01-01T00:30:00", "2025-12-31T23:30:00", yesterday);
        row("leap day", "2024-03-01T08:00:00", "2024-02-29T20:00:00", yesterday);
        row("the future", "2026-11-23T12:00:00", "2026-12-24T12:00:00", today);
        // A day of 23 and one of 25 hours are days.
        row("clocks went on", "2026-03-30T00:10:00", "2026-03-29T00:20:00", yesterday);
        row("seven days with a short one", "2026-03-30T12:00:00", "2026-03-23T12:00:00", month);
        row("clocks went back", "2026-10-25T23:50:00", "2026-10-25T00:10:00", today);
        row("less than seven with a long one", "2026-10-26T12:00:00", "2026-10-19T12:00:01", week);
        const char* const chile = "America/Santiago";
        row("no midnight on that day", "2026-09-06T02:00:00", "2026-09-06T01:00:00", today, chile);
        row("before the missing midnight", "2026-09-06T02:00:00", "2026-09-05T23:59:59", yesterday, chile);
        row("far east", "2026-11-23T00:30:00", "2026-11-22T23:30:00", yesterday, "Pacific/Kiritimati");
    }

    void ages() {
        FETCH(QString, now, QString, time);
        QFETCH(QByteArray, zone);
        if (zone.isEmpty())
            zone = "Europe/Berlin";
        const DateGrouping grouping(at(now, zone), QTimeZone(zone), QLocale(QLocale::English));
        const DateGrouping::Group group = grouping.groupOf(at(time, zone));
        QTEST(group.title, "group");
        QVERIFY(group.begin <= at(time, zone) && grouping.groupOf(group.begin).title == group.title);
        QVERIFY(grouping.groupOf(group.begin - 1).title != group.title);
    }

    void daysEnd() {
        SidebarLibrary library(at(u"2026-11-23T23:00:00"_qs, "Europe/Berlin"));
        library.add(u"Before"_qs, day);
        const QString chat = library.add(u"Now"_qs, 1 * hour);
        SidebarModel rows(library.sources());
        library.clock.advance(59min + 59s + 999ms);
        QCOMPARE(rows.chatIndex(chat).parent().data().toString(), u"Today"_qs);
        QSignalSpy reset(&rows, &QAbstractItemModel::modelReset);
        library.clock.advance(1ms);
        QCOMPARE(linesOf(rows),
                 (QStringList{u"Yesterday"_qs, u"  Now"_qs, u"Previous 7 Days"_qs, u"  Before"_qs}));
        QCOMPARE(reset.count(), 0);
    }

    void rowsOfFolders() {
        SidebarLibrary library;
        const QString one = library.add(u"One\nand more"_qs);
        const QString two = library.add(u"Two"_qs);
        const QString work = library.addFolder(u"Work"_qs, {one});
        library.addFolder(u"Home"_qs);
        SidebarModel rows(library.sources());
        QCOMPARE(linesOf(rows), (QStringList{u"Work"_qs, u"  One"_qs, u"Home"_qs,
                                             u"  Drop chats here to file them in this folder"_qs, u"Today"_qs,
                                             u"  Two"_qs}));
        QCOMPARE(rows.index(0, 0).data(SidebarCountRole).toInt(), 1);

        QSignalSpy stored(&rows, &SidebarModel::collapsedChanged);
        rows.setFolderOpen(work, false);
        QVERIFY(!rows.index(0, 0).data(SidebarOpenRole).toBool());
        QVERIFY(library.look(u"ONE"_qs));
        QCOMPARE(linesOf(rows), (QStringList{u"Work"_qs, u"  One"_qs}));
        QVERIFY2(rows.index(0, 0).data(SidebarOpenRole).toBool(), "a search shows what is in the folder");
        rows.setFolderOpen(work, false);
        rows.setFolderOpen(work, true);
        QVERIFY(library.look(u"  "_qs));
        QCOMPARE(rows.collapsed(), QSet<QString>{work});
        QVERIFY(!rows.index(0, 0).data(SidebarOpenRole).toBool());
        QCOMPARE(stored.count(), 1);
    }

    void chatsOnTheirWayAreNotNone() {
        SidebarLibrary library;
        using Emptiness = SidebarModel::Emptiness;
        library.add(u"Tea"_qs, 0, u"Leaves"_qs);
        library.store.claim(u"another"_qs);
        SidebarModel rows(library.sources());
        QCOMPARE(rows.emptiness(), Emptiness::NoChats);
        library.search.search(u"LEAVES"_qs);
        library.store.holdReading(true);
        library.store.claim(u"account"_qs);
        QCOMPARE(rows.emptiness(), Emptiness::None);
        QCOMPARE(linesOf(rows), QStringList());
        library.store.holdReading(false);
        library.store.finishLoading();
        QVERIFY(library.look(u"leaves"_qs));
        QCOMPARE(rows.emptiness(), Emptiness::None);
        QCOMPARE(linesOf(rows), (QStringList{u"Today"_qs, u"  Tea"_qs}));
    }

    void everyOrderOfChanges_data() {
        rows<unsigned>("seed", {{"seed 1", 1U}, {"seed 2", 2U}, {"seed 3", 3U}, {"seed 4", 4U}});
    }

    /// Whatever happens in whatever order: the rows are those that a new model would have, the signals are
    /// those of the changes, and the view shows what is open.
    void everyOrderOfChanges() {
        QFETCH(const unsigned, seed);
        std::mt19937 random(seed);
        const auto below = [&random](int limit) { return int(random() % unsigned(std::max(limit, 1))); };
        SidebarLibrary library(at(u"2026-10-23T22:00:00"_qs, "Europe/Berlin"));
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
        const QStringList words{u"tea"_qs, u"bread"_qs, u"salt"_qs, QString()};
        bool searches = false;
        const std::vector<std::function<void()>> changes{
            [&] { library.add(words[below(3)], double(below(70)) * day + double(below(1440)) * 60'000); },
            [&] { library.store.create(words[below(3)]); },
            [&] { library.store.rename(chat(), words[below(3)]); },
            [&] {
                library.store.updateMessage(
                    chat(), u"m"_qs, ChatStore::Touch::Yes, ChatStore::Save::No,
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
                library.folders.assign(QStringList{chat(), chat(), chat()}, folder());
            },
            [&] { library.folders.assign({chat()}, std::nullopt); },
            [&] { rows.setCollapsed({folder()}); },
            [&] {
                QSignalSpy reset(&rows, &QAbstractItemModel::modelReset);
                QVERIFY(library.readAgain(random, [&] { library.store.create(words[below(3)]); }));
                // By leaving and coming: chats that follow do not disturb what the user does with the first
                // ones.
                QVERIFY(searches || reset.count() == 2);
            },
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
};

int main(int argc, char** argv) {
    qputenv("TZ", "Europe/Berlin");
    QApplication application(argc, argv);
    TestSidebarModel test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestSidebarModel.moc"
