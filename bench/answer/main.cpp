// What an answer costs all processes of the application together while it grows to 300 KB: through the local
// service, the client, the model, the bridge and the page in the real engine. The service is not counted.
// Usage: bench_answer

#include "AccountFileName.h"
#include "BareText.h"
#include "ChatGenerator.h"
#include "Claim.h"
#include "EngineEnvironment.h"
#include "EnginePage.h"
#include "Pending.h"
#include "Windows.h"
#include "World.h"

#include <QApplication>
#include <QFile>
#include <QProcess>

#include <cstdio>
#include <stdexcept>

using namespace teskal;
using namespace teskal::bench;
using namespace std::chrono_literals;

namespace {

constexpr double budget = 10; ///< ms for an update
constexpr double growth = 1.5;
constexpr int manyChats = 5'000;

void waitFor(const char* what, const std::function<bool()>& holds) {
    if (!test::waitUntil(holds, 5min))
        throw std::runtime_error(std::string("did not happen: ") + what);
}

/// Lets the signed-in account have \a count chats, which the service knows too.
void fillAccount(test::World& world, int count) {
    const QString owner = world.model().store().owner().value();
    world.quit();
    ChatGenerator generator;
    QList<Chat> chats;
    for (int i = 0; i < count; ++i) {
        Chat chat = generator.chat();
        chat.updatedAt = 1'700'000'000'000.0 - i;
        for (ChatMessage& message : chat.messages)
            message.attachments.clear(); // files go by requests of their own
        chats.append(chat);
    }
    QFile file(world.folder.filePath(accountFileName(owner) + QStringLiteral(".json")));
    if (!file.open(QFile::WriteOnly) || file.write(encodeChats(chats)) < 0)
        throw std::runtime_error("could not write the chats");
    file.close();
    world.launch();
    waitFor("an account full of chats", [&] { return world.model().store().count() == count; });
    const QString puts = QStringLiteral("/api/chats&method=PUT");
    waitFor("the upload of all chats",
            [&] { return world.control.wait(puts, QStringLiteral("finished"), count); });
}

/// The same bytes through service and client alone, while the page shows nothing.
std::vector<Windows::Result> measureClient(test::World& world, const PacedAnswer& answer) {
    world.control.next(answer.override());
    Windows windows(answer);
    TokenProvider token = [auth = &world.model().auth()](std::stop_token stop) {
        return auth->accessToken(std::move(stop));
    };
    const TeskalAPI api(world.config.baseURL, token, world.http, world.clock, QStringLiteral("1"));
    ChatMessage question;
    question.content = QStringLiteral("Tell me more");
    const ChatCallbacks callbacks([](const JSONValue&) {},
                                  [&windows](const QString& text) { windows.update(text.size()); },
                                  [](const JSONValue&) {});
    auto asking =
        test::start([&](std::stop_token stop) { return api.chat({question}, true, callbacks, stop); });
    asking.result(5min);
    return windows.results();
}

std::vector<Windows::Result> measureAll(test::World& world, test::EnginePage& page,
                                        const PacedAnswer& answer) {
    world.control.next(answer.override());
    Windows windows(answer);
    const ChatStore& store = world.model().store();
    const QString chat = world.send(QStringLiteral("Tell me everything"));
    const auto update = [&](const QString& id) {
        if (id == chat)
            windows.update(world.last(chat).content.size());
    };
    const auto tie = QObject::connect(&store, &ChatStore::messageChanged, &store, update);
    waitFor("the end of the answer", [&] { return !world.model().isAnswering(chat); });
    QObject::disconnect(tie);
    if (world.last(chat).content.size() != answer.length())
        throw std::runtime_error("the answer is not whole");
    // Otherwise the figures are of something that drew nothing.
    const QString shown = QStringLiteral("document.body.textContent.length > %1").arg(answer.length() / 2);
    if (!page.waitFor(shown))
        throw std::runtime_error("the page does not show the answer");
    return windows.results();
}

void printResults(int chats, const PacedAnswer& answer, const std::vector<Windows::Result>& client,
                  const std::vector<Windows::Result>& all, const Cpu& bareText) {
    const QString bare = QStringLiteral("bare text in the engine");
    const auto ms = QStringLiteral("ms");
    QList<Claim> table;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const QString at = answer.windows()[i].name;
        table +=
            {QStringLiteral("CPU of an update, ") + at, ms, all[i].cpu.all(), bare, bareText.all(), budget};
        table += {QStringLiteral("of that, our main thread"), ms, all[i].cpu.mainThread, bare,
                  bareText.mainThread};
        table += {QStringLiteral("of that, our other threads, drawing included"), ms,
                  all[i].cpu.process - all[i].cpu.mainThread, bare, bareText.process - bareText.mainThread};
        table +=
            {QStringLiteral("of that, the engine's processes"), ms, all[i].cpu.engine, bare, bareText.engine};
        table += {QStringLiteral("of that, service and client alone"), ms, client[i].cpu.all()};
        table += {QStringLiteral("updates in a second, ") + at, QStringLiteral("/s"), all[i].rate};
    }
    table += {QStringLiteral("growth over the answer"),
              ms,
              all.back().cpu.all(),
              answer.windows().front().name,
              all.front().cpu.all(),
              {},
              growth};
    printClaims(
        QStringLiteral("An answer grows to 300 KB, all processes but the service, %1 chats").arg(chats),
        table);
}

void measure(int chats) {
    const PacedAnswer answer;
    test::World world;
    world.signIn();
    if (chats > 0)
        fillAccount(world, chats);
    test::EnginePage page;
    world.model().transcript().setPage(&page.port());
    if (!page.open())
        throw std::runtime_error("the transcript page did not open");
    const std::vector<Windows::Result> client = measureClient(world, answer);
    const std::vector<Windows::Result> all = measureAll(world, page, answer);
    const Cpu bareText = measureBareText(page);
    printResults(chats, answer, client, all, bareText);
    world.model().transcript().setPage(nullptr); // the page goes first
}

int runHere(int argc, char** argv, int chats) {
    qputenv("QT_QPA_PLATFORM", qEnvironmentVariableIsSet("DISPLAY") ? "xcb" : "offscreen");
    // The engine tells at length how it runs; that is not what was asked.
    qputenv("QT_LOGGING_RULES", "qt.webenginecontext=false");
    prepareEngineEnvironment();
    const QApplication application(argc, argv);
    try {
        measure(chats);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}

/// In a process of its own, so that none finds the engine as another has left it.
bool runApart(const char* program, int chats) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QString::fromLocal8Bit(program), {QStringLiteral("--chats"), QString::number(chats)});
    return process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && QByteArrayView(argv[1]) == "--chats")
        return runHere(argc, argv, QByteArray(argv[2]).toInt());
    const bool measured = runApart(argv[0], 0);
    return runApart(argv[0], manyChats) && measured ? 0 : 2;
}
