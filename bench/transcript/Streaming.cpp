#include "AnswerGenerator.h"
#include "BareView.h"
#include "Claim.h"
#include "EnginePage.h"
#include "PageTask.h"
#include "Parts.h"
#include "ProcessUse.h"
#include "Quantile.h"

#include <functional>
#include <stdexcept>

namespace teskal::bench {

namespace {

constexpr int updates = 200;
constexpr int piece = 60;        ///< characters of an update
constexpr int interval = 33;     ///< ms between updates
constexpr int largePiece = 2000; ///< of those that are not measured
constexpr int naiveUpdates = 10;

/// Cost of updates around one length of the answer, in ms.
struct Window {
    double median = 0;
    double p95 = 0;
    double layout = 0; ///< median
    double thread = 0; ///< of the page's main thread for an update, everything included
};

Window measureWindow(QWebEnginePage& page, qsizetype around) {
    runTask(page, QStringLiteral("bench.feed(%1, %2)").arg(around - updates * piece / 2).arg(largePiece));
    const double before = mainThreadCpu(page.renderProcessPid());
    const QJsonValue times =
        runTask(page, QStringLiteral("bench.stream(%1, %2, %3)").arg(updates).arg(piece).arg(interval));
    const double after = mainThreadCpu(page.renderProcessPid());
    const std::vector<double> script = numbers(times[QLatin1String("script")]);
    const std::vector<double> layout = numbers(times[QLatin1String("layout")]);
    std::vector<double> both(script.size());
    std::transform(script.begin(), script.end(), layout.begin(), both.begin(), std::plus<>());
    return {quantile(both, 0.5), quantile(both, 0.95), quantile(layout, 0.5), (after - before) / updates};
}

/// Lets one answer grow to \a text, through \a lengths.
std::vector<Window> measureGrowth(const QString& text, const std::vector<qsizetype>& lengths) {
    test::EnginePage page;
    if (!page.open())
        throw std::runtime_error("the transcript page did not open");
    addBenchScript(page.page(), QStringLiteral("driver"));
    runTask(page.page(), QStringLiteral("bench.begin(%1)").arg(literal(text)));
    std::vector<Window> windows;
    for (const qsizetype length : lengths)
        windows.push_back(measureWindow(page.page(), length));
    // Otherwise the times are of something that drew nothing.
    if (runTask(page.page(), QStringLiteral("bench.shown()")).toDouble() < double(lengths.back()) / 2)
        throw std::runtime_error("the page does not show the answer");
    return windows;
}

QList<Claim> claims(const QString& what, const std::vector<qsizetype>& lengths,
                    const std::vector<Window>& windows) {
    const auto ms = QStringLiteral("ms");
    QList<Claim> table;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const QString at = QStringLiteral("%1 at %2 KB, ").arg(what).arg(lengths[i] / 1000);
        table += {at + QStringLiteral("median"), ms, windows[i].median, {}, {}, 2};
        table += {at + QStringLiteral("95th percentile"), ms, windows[i].p95, {}, {}, 4};
        table += {at + QStringLiteral("layout alone"), ms, windows[i].layout};
        table += {at + QStringLiteral("all of the main thread"), ms, windows[i].thread};
    }
    table += {QStringLiteral("%1, growth of the median").arg(what),
              ms,
              windows.back().median,
              QStringLiteral("at %1 KB").arg(lengths.front() / 1000),
              windows.front().median,
              {},
              1.5};
    return table;
}

double naiveMedian(const QString& text) {
    BareView view;
    view.open();
    addBenchScript(view.page(), QStringLiteral("driver"));
    addBenchScript(view.page(), QStringLiteral("naive"));
    const QString stream =
        QStringLiteral("naive.stream(%1, %2, %3)").arg(literal(text)).arg(naiveUpdates).arg(piece);
    return quantile(numbers(runTask(view.page(), stream)), 0.5);
}

QList<Claim> measureMixed() {
    const std::vector<qsizetype> lengths{10'000, 100'000, 300'000};
    const QString text = AnswerGenerator(1).mixed(lengths.back() + updates * piece);
    const std::vector<Window> windows = measureGrowth(text, lengths);
    QList<Claim> table = claims(QStringLiteral("mixed"), lengths, windows);
    table += {QStringLiteral("mixed at 100 KB"),
              QStringLiteral("ms"),
              windows[1].median,
              QStringLiteral("parse, clean, set, highlight all"),
              naiveMedian(text.left(lengths[1])),
              {},
              0.01};
    return table;
}

} // namespace

void measureStreaming() {
    QList<Claim> table = measureMixed();
    const std::vector<qsizetype> lengths{5'000, 50'000};
    const qsizetype length = lengths.back() + updates * piece;
    AnswerGenerator generator(2);
    const std::pair<const char*, QString> blocks[] = {{"one fence", generator.fence(length)},
                                                      {"one list", generator.list(length)},
                                                      {"one table", generator.table(length)}};
    for (const auto& [name, text] : blocks)
        table += claims(QString::fromLatin1(name), lengths, measureGrowth(text, lengths));
    printClaims(QStringLiteral("An answer grows by 60 characters 30 times a second, handed over as by the "
                               "application: script and layout"),
                table);
}

} // namespace teskal::bench
