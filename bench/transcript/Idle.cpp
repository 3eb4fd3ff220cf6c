#include "AnswerGenerator.h"
#include "BareView.h"
#include "Claim.h"
#include "EnginePage.h"
#include "MessageDisplay.h"
#include "PageTask.h"
#include "Parts.h"
#include "ProcessUse.h"

#include <QCoreApplication>

#include <stdexcept>

using namespace std::chrono_literals;

namespace teskal::bench {

namespace {

constexpr int rounds = 2;
/// Libraries load, and the engine collects the garbage of what was drawn some eight seconds after that; then
/// it is still.
constexpr auto settling = 20s;
constexpr auto watched = 10s;

/// CPU time of this process and the page's, all threads, in ms for a second in which nobody does anything.
double idleUse(QWebEnginePage& page) {
    const auto use = [&page] {
        return processCpu(QCoreApplication::applicationPid()) + processCpu(page.renderProcessPid());
    };
    idle(settling);
    const double before = use();
    idle(watched);
    return (use() - before) / double(std::chrono::duration_cast<std::chrono::seconds>(watched).count());
}

double bareUse(const QByteArray& html) {
    BareView view(html);
    view.open();
    return idleUse(view.page());
}

double transcriptUse(const QList<ChatMessage>& messages) {
    test::EnginePage page;
    if (!page.open())
        throw std::runtime_error("the transcript page did not open");
    page.port().call("setChat", {displayJson(QStringLiteral("chat"), messages, page.port().inlineFiles())});
    page.port().call("setBusy", {messages.last().pending ? "true" : "false"});
    return idleUse(page.page());
}

QList<ChatMessage> finishedChat() {
    return AnswerGenerator(1).conversation(10, 1'500);
}

QList<ChatMessage> pendingChat() {
    QList<ChatMessage> messages = finishedChat();
    messages.last().content.clear();
    messages.last().route.reset();
    messages.last().pending = true;
    return messages;
}

} // namespace

void measureIdle() {
    const QByteArray clock =
        "<p id=p>0</p><script>let n=0;setInterval(()=>{p.textContent=++n},1000)</script>";
    double blank = 0;
    double finished = 0;
    double changing = 0;
    double pending = 0;
    for (int round = 0; round < rounds; ++round) {
        blank += bareUse({}) / rounds;
        finished += transcriptUse(finishedChat()) / rounds;
        changing += bareUse(clock) / rounds;
        pending += transcriptUse(pendingChat()) / rounds;
    }
    const QString unit = QStringLiteral("ms/s");
    printClaims(QStringLiteral("Nobody does anything: CPU of the page's process and the application's"),
                {{QStringLiteral("a finished chat"),
                  unit,
                  finished,
                  QStringLiteral("blank view"),
                  blank,
                  {},
                  {},
                  0.5},
                 {QStringLiteral("an answer that says nothing yet"),
                  unit,
                  pending,
                  QStringLiteral("bare text, changed once a second"),
                  changing,
                  {},
                  1.3}});
}

} // namespace teskal::bench
