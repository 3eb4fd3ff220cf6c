#include "AnswerGenerator.h"
#include "BareView.h"
#include "Claim.h"
#include "EnginePage.h"
#include "MessageDisplay.h"
#include "PageTask.h"
#include "Parts.h"
#include "ProcessUse.h"
#include "Quantile.h"
#include "TaskTrace.h"

#include <stdexcept>

using namespace std::chrono_literals;

namespace teskal::bench {

namespace {

constexpr int pairs = 500;
constexpr int answerLength = 1'850; ///< characters; 1 MB in all
constexpr int firstOpenings = 5;
constexpr int laterOpenings = 4;
constexpr double longestTask = 16; ///< ms

QByteArray chatJson(unsigned seed) {
    const QList<ChatMessage> messages = AnswerGenerator(seed).conversation(pairs, answerLength);
    InlineFiles files;
    return displayJson(QStringLiteral("chat-%1").arg(seed), messages, files);
}

/// The transcript page with the driver in it.
class OpenPage {
public:
    OpenPage() {
        if (!page_.open())
            throw std::runtime_error("the transcript page did not open");
        addBenchScript(page(), QStringLiteral("driver"));
    }

    QWebEnginePage& page() { return page_.page(); }
    /// Shows a chat as the application does. Returns the ms from the call until its end is on the screen.
    double show(const QByteArray& json) {
        page_.takeMessages();
        return timeToPaint(page(), [&] { page_.port().call("setChat", {json}); });
    }
    /// Waits until every message of the chat is drawn.
    void waitForRest() {
        const QJsonObject drawn{{QStringLiteral("type"), QStringLiteral("drawn")}};
        waitFor("the whole chat", [&] { return page_.messages().contains(drawn); });
        if (evaluate(page(), test::shownMessages).toInt() != 2 * pairs)
            throw std::runtime_error("the chat is not drawn in full");
    }
    double memory() { return proportionalMemory(page().renderProcessPid()); }

private:
    test::EnginePage page_;
};

/// Medians of a blank view: the time to a frame after a frame, and memory then.
struct Blank {
    double frames = 0;
    double memory = 0;
};

Blank measureBlank() {
    std::vector<double> frames;
    std::vector<double> memory;
    for (int i = 0; i < firstOpenings; ++i) {
        BareView view;
        view.open();
        addBenchScript(view.page(), QStringLiteral("driver"));
        frames.push_back(timeToPaint(view.page(), [] {}));
        memory.push_back(proportionalMemory(view.page().renderProcessPid()));
    }
    return {quantile(frames, 0.5), quantile(memory, 0.5)};
}

QList<Claim> measureTimes(const Blank& blank) {
    const QByteArray chats[] = {chatJson(1), chatJson(2)};
    std::vector<double> first;
    std::vector<double> memory;
    std::vector<double> later;
    std::vector<double> whole;
    for (int i = 0; i < firstOpenings; ++i) {
        OpenPage page;
        first.push_back(page.show(chats[0]));
        memory.push_back(page.memory());
        if (i + 1 < firstOpenings)
            continue;
        for (int opening = 0; opening < laterOpenings; ++opening) {
            const auto begin = std::chrono::steady_clock::now();
            page.waitForRest();
            whole.push_back(
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count());
            later.push_back(page.show(chats[(opening + 1) % 2]));
        }
    }
    const auto ms = QStringLiteral("ms");
    const auto frames = QStringLiteral("two frames of a blank view");
    return {
        {QStringLiteral("end on screen, first time"), ms, quantile(first, 0.5), frames, blank.frames, 100},
        {QStringLiteral("end on screen, later"), ms, quantile(later, 0.5), frames, blank.frames, 50},
        {QStringLiteral("from then until all is drawn"), ms, quantile(whole, 0.5)},
        {QStringLiteral("page process at the first picture"),
         QStringLiteral("MB"),
         quantile(memory, 0.5),
         QStringLiteral("blank view"),
         blank.memory,
         {},
         {},
         60}};
}

QList<Claim> measureTasks() {
    OpenPage page;
    TaskTrace trace(TranscriptPage::address());
    page.show(chatJson(1));
    page.waitForRest();
    const TaskTrace::Record record = trace.stop(page.page().renderProcessPid());
    double opening = 0;
    double longest = 0;
    int longer = 0;
    for (const PageTaskTime& task : record.tasks) {
        double& most = task.begin < record.painted ? opening : longest;
        most = std::max(most, task.cpu);
        longer += task.begin >= record.painted && task.cpu > longestTask ? 1 : 0;
    }
    return {{QStringLiteral("longest task until the end is on screen"), QStringLiteral("ms"), opening},
            {QStringLiteral("longest task while the rest is drawn"),
             QStringLiteral("ms"),
             longest,
             {},
             {},
             longestTask},
            {QStringLiteral("tasks of more than that"), QStringLiteral("of %1").arg(record.tasks.size()),
             double(longer)}};
}

} // namespace

void measureOpening() {
    const QList<Claim> times = measureTimes(measureBlank());
    const QList<Claim> tasks = measureTasks();
    printClaims(QStringLiteral("A chat of 1,000 messages, 1 MB, opens"), times + tasks);
}

} // namespace teskal::bench
