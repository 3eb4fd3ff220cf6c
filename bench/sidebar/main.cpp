// The sidebar with 5,000 chats and 100 MB of text: opening it, scrolling, streaming into a chat that is
// shown, searching, and the memory that searching takes. Without arguments.

#include "Comparison.h"
#include "Library.h"
#include "Measure.h"
#include "SidebarModel.h"
#include "sidebar/SidebarTree.h"
#include "sidebar/SidebarView.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QScrollBar>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <memory>

using namespace teskal;
using namespace teskal::bench;

namespace {

constexpr int runs = 7;
constexpr double frame = 16;     ///< ms
constexpr double keystroke = 15; ///< ms
constexpr QSize size(268, 900);

/// The sidebar as the window has it.
class Sidebar : public QObject {
public:
    Sidebar(Library& library, const Theme& theme)
        : rows({library.store, library.folders, library.search, library.clock,
                [](const QString& /*id*/) { return false; }}),
          view(theme) {
        view.setRows(&rows);
        view.resize(size);
        view.list().viewport()->installEventFilter(this);
        view.show();
    }

    SidebarModel rows;
    SidebarView view;
    int paints = 0;

protected:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        paints += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

double millisecondsSince(const QElapsedTimer& timer) {
    return double(timer.nsecsElapsed()) / 1e6;
}

Comparison against(const char* what, const char* floorName, double floor, double ours, qint64 bytes,
                   double ratio = 1) {
    return {QString::fromLatin1(what), QString::fromLatin1(floorName), floor, ours, bytes, ratio};
}

Comparison measureOpening(Library& library, const Theme& theme, qint64 bytes) {
    const double time = medianMilliseconds(runs, [&] {
        auto sidebar = std::make_unique<Sidebar>(library, theme);
        while (sidebar->paints == 0)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return sidebar;
    });
    return against("opened: rows, views, first painting", "one frame", frame, time, bytes);
}

/// Every page of the rows is scrolled to; the time of each is the median of several passes.
Comparison measureScrolling(Sidebar& sidebar, qint64 bytes) {
    QScrollBar& bar = *sidebar.view.list().verticalScrollBar();
    QWidget& viewport = *sidebar.view.list().viewport();
    double worst = 0;
    for (int place = 0; place < bar.maximum(); place += bar.pageStep()) {
        std::vector<double> times;
        for (int run = 0; run < 3; ++run) {
            bar.setValue(place);
            viewport.repaint();
            QElapsedTimer timer;
            timer.start();
            bar.setValue(place + bar.pageStep());
            viewport.repaint();
            times.push_back(millisecondsSince(timer));
        }
        std::sort(times.begin(), times.end());
        worst = std::max(worst, times[1]);
    }
    bar.setValue(0);
    return against("scrolled by a page, the slowest", "one frame", frame, worst, bytes);
}

Comparison measureStreaming(Library& library, Sidebar& sidebar, qint64 bytes) {
    constexpr int updates = 2'000;
    const QString id = library.store.at(40).id;
    const QString message = library.store.at(40).messages.last().id;
    QCoreApplication::processEvents();
    sidebar.paints = 0;
    QElapsedTimer timer;
    timer.start();
    for (int update = 0; update < updates; ++update) {
        library.store.updateMessage(id, message, ChatStore::Touch::No, ChatStore::Save::No,
                                    [](ChatMessage& changed) { changed.content += QLatin1String(" word"); });
        QCoreApplication::processEvents();
    }
    const double time = millisecondsSince(timer) / updates;
    std::printf("%d streamed updates of a chat on screen painted the rows %d times.\n\n", updates,
                sidebar.paints);
    return against("streamed update, all of it", "a tenth of a frame", frame / 10,
                   sidebar.paints == 0 ? time : frame, bytes);
}

/// Runs the event loop until every chat was looked at and the rows are painted.
double finish(Library& library, Sidebar& sidebar, const QElapsedTimer& timer) {
    sidebar.paints = 0;
    while (!library.search.isComplete() || sidebar.rows.shownQuery() != library.search.query())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    sidebar.view.list().viewport()->repaint();
    return millisecondsSince(timer);
}

struct Typing {
    double slowest = 0;     ///< from a keystroke to its rows
    double longestCall = 0; ///< that the main thread is held by the keystroke itself
};

Typing type(Library& library, Sidebar& sidebar, const QString& word) {
    Typing typing;
    for (qsizetype letters = 1; letters <= word.size(); ++letters) {
        QElapsedTimer timer;
        timer.start();
        library.search.search(word.left(letters));
        typing.longestCall = std::max(typing.longestCall, millisecondsSince(timer));
        typing.slowest = std::max(typing.slowest, finish(library, sidebar, timer));
    }
    return typing;
}

void clear(Library& library, Sidebar& sidebar) {
    QElapsedTimer timer;
    timer.start();
    library.search.search(QString());
    finish(library, sidebar, timer);
}

QList<Comparison> measureTyping(Library& library, Sidebar& sidebar, qint64 bytes) {
    QList<Comparison> lines;
    for (const char* word : {"the", "keyboard", "brot", "qzx"}) {
        std::vector<double> slowest;
        std::vector<double> calls;
        for (int run = 0; run < runs; ++run) {
            const Typing typing = type(library, sidebar, QString::fromLatin1(word));
            slowest.push_back(typing.slowest);
            calls.push_back(typing.longestCall);
            clear(library, sidebar);
        }
        std::sort(slowest.begin(), slowest.end());
        std::sort(calls.begin(), calls.end());
        const QByteArray what = QByteArray("typed \"") + word + "\", the slowest keystroke";
        lines.append(against(what.constData(), "15 ms", keystroke, slowest[runs / 2], bytes));
        if (lines.size() == 1)
            lines.append(against("typing waits for the search", "1 ms", 1, calls[runs / 2], bytes));
    }
    return lines;
}

Comparison measureWholeSearch(Library& library, Sidebar& sidebar, qint64 bytes) {
    const QString query = QStringLiteral("nowhere to be found");
    const auto ours = [&] {
        clear(library, sidebar);
        QElapsedTimer timer;
        timer.start();
        library.search.search(query);
        return finish(library, sidebar, timer);
    };
    std::vector<double> times;
    std::vector<double> plain;
    for (int run = 0; run < runs; ++run) {
        times.push_back(ours());
        plain.push_back(millisecondsOf([&] { return library.plainSearch(query); }));
    }
    clear(library, sidebar);
    std::sort(times.begin(), times.end());
    std::sort(plain.begin(), plain.end());
    return against("a query that no chat holds, to its rows", "QString::contains", plain[runs / 2],
                   times[runs / 2], bytes, 0.1);
}

/// Bytes that the heap gives out at present.
qint64 heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return qint64(info.uordblks + info.hblkhd);
}

/// Folds every text and returns what the copies take, in bytes.
qint64 fold(Library& library) {
    const qint64 before = heapInUse();
    library.search.prepare();
    while (!library.search.isComplete())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return heapInUse() - before;
}

int run() {
    Theme theme;
    theme.install(*qApp);
    Library library;
    const qint64 bytes = library.textBytes();
    QList<Comparison> table{measureOpening(library, theme, bytes)};
    Sidebar sidebar(library, theme);
    QCoreApplication::processEvents();
    table.append(measureScrolling(sidebar, bytes));
    table.append(measureStreaming(library, sidebar, bytes));
    QElapsedTimer timer;
    timer.start();
    const qint64 folded = fold(library);
    const double foldTime = millisecondsSince(timer);
    table.append(measureTyping(library, sidebar, bytes));
    table.append(measureWholeSearch(library, sidebar, bytes));
    const bool met = printTable(table);
    const double share = double(folded) / double(bytes);
    std::printf(
        "\nMedian of %d runs. All texts are folded after %.0f ms, beside the main thread; the copies take "
        "%.3f times their size (aim: at most 1).\n",
        runs, foldTime, share);
    return met && share <= 1 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    return run();
}
