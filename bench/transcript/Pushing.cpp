#include "AnswerGenerator.h"
#include "Claim.h"
#include "EnginePage.h"
#include "MessageDisplay.h"
#include "PageTask.h"
#include "Parts.h"
#include "ProcessUse.h"
#include "Quantile.h"

#include <functional>
#include <stdexcept>

using namespace std::chrono_literals;

namespace teskal::bench {

namespace {

constexpr int updates = 200;
constexpr int piece = 60; ///< characters of an update
constexpr auto interval = 33ms;
constexpr qsizetype length = 100'000;

using Push = std::function<void(WebPagePort&, const ChatMessage&)>;

/// CPU time of the application's main thread in ms.
struct Cost {
    std::vector<double> calls; ///< of each call
    double all = 0;            ///< for an update, what the event loop does after the call included
};

Cost measure(const Push& push) {
    test::EnginePage page;
    if (!page.open())
        throw std::runtime_error("the transcript page did not open");
    const QString text = AnswerGenerator(1).mixed(length + updates * piece);
    ChatMessage message;
    message.id = QStringLiteral("answer");
    message.role = Role::Assistant;
    message.content = text.left(length);
    message.pending = true;
    push(page.port(), message);
    idle(2s);

    Cost cost;
    const double begin = ownThreadCpu();
    for (int update = 0; update < updates; ++update) {
        message.content += QStringView(text).mid(message.content.size(), piece);
        const double before = ownThreadCpu();
        push(page.port(), message);
        cost.calls.push_back(ownThreadCpu() - before);
        idle(interval);
    }
    cost.all = (ownThreadCpu() - begin) / updates;

    message.content += QStringLiteral("\n\nThe end is here.");
    push(page.port(), message);
    if (!page.waitFor(QStringLiteral("document.body.textContent.includes('The end is here')")))
        throw std::runtime_error("the page does not show the answer");
    return cost;
}

} // namespace

void measurePushing() {
    const Cost whole = measure([](WebPagePort& port, const ChatMessage& message) {
        port.call("upsert", {displayJson(message, port.inlineFiles())});
    });
    const Cost ours = measure([](WebPagePort& port, const ChatMessage& message) { port.upsert(message); });
    const auto ms = QStringLiteral("ms");
    const auto against = QStringLiteral("the whole message");
    printClaims(
        QStringLiteral("An answer of 100 KB is pushed to the page: CPU of the application's main thread"),
        {{QStringLiteral("a call, median"), ms, quantile(ours.calls, 0.5), against,
          quantile(whole.calls, 0.5), 1},
         {QStringLiteral("a call, 95th percentile"), ms, quantile(ours.calls, 0.95), against,
          quantile(whole.calls, 0.95), 1},
         {QStringLiteral("an update, painting and all"), ms, ours.all, against, whole.all}});
}

} // namespace teskal::bench
