// 1,000 answers in a row leave memory flat. All are answers to the same question of one chat, each asked for
// again in the place of the one before, so that what is stored stays the same and all growth is a leak. What
// the service and the client do by themselves is the floor. With the page, each answer waits until the one
// before is drawn. Usage: bench_soak [--only client|model|page]

#include "Claim.h"
#include "EngineEnvironment.h"
#include "EnginePage.h"
#include "MemoryUse.h"
#include "Pending.h"
#include "World.h"

#include <QApplication>
#include <QProcess>

#include <cstdio>
#include <stdexcept>

using namespace teskal;
using namespace teskal::bench;
using namespace std::chrono_literals;

namespace {

/// Answers until pools and caches have their size: in the first thousand, HTTP alone keeps some 200 bytes for
/// each, later ones next to nothing.
constexpr int warmUp = 1'000;
constexpr int answers = 1'000;
constexpr int step = 20;                    ///< answers between looks at the memory
constexpr double maxHeapGrowth = 100;       ///< bytes for an answer
constexpr double maxResidentGrowth = 1'000; ///< bytes for an answer
/// Bytes for an answer, which takes some 16 MB while it is shown: the engine tidies up when it likes.
constexpr double maxEngineGrowth = 100'000;

const QString question = QStringLiteral("Is this answer as long as the last one");

void waitFor(const char* what, const std::function<bool()>& holds) {
    if (!test::waitUntil(holds, 1min))
        throw std::runtime_error(std::string("did not happen: ") + what);
}

struct Growth {
    double heap = 0;
    double resident = 0;
    double engine = 0;
    double first = 0; ///< heap at the begin
    double last = 0;
};

/// Bytes that each \a answer leaves behind.
template<typename Answer>
Growth measure(Answer&& answer) {
    std::vector<double> heap;
    std::vector<double> resident;
    std::vector<double> engine;
    for (int done = 0; done < warmUp; ++done)
        answer();
    for (int done = 0; done <= answers; ++done) {
        if (done % step == 0) {
            const MemoryUse use = memoryUse();
            heap.push_back(use.heap);
            resident.push_back(use.resident);
            engine.push_back(use.engine);
        }
        answer();
    }
    return {growthPerAnswer(heap, step), growthPerAnswer(resident, step), growthPerAnswer(engine, step),
            heap.front(), heap.back()};
}

void print(const QString& title, const Growth& growth, bool isFloor) {
    const auto bytes = QStringLiteral("B");
    QList<Claim> table{{QStringLiteral("heap, for each answer"), bytes, growth.heap},
                       {QStringLiteral("resident, for each answer"), bytes, growth.resident},
                       {QStringLiteral("the engine's processes, for each answer"), bytes, growth.engine},
                       {QStringLiteral("heap at the end"), QStringLiteral("KB"), growth.last / 1e3,
                        QStringLiteral("at the begin"), growth.first / 1e3}};
    if (!isFloor) {
        table[0].maxValue = maxHeapGrowth;
        table[1].maxValue = maxResidentGrowth;
        table[2].maxValue = maxEngineGrowth;
    }
    printClaims(title, table);
}

/// The same exchanges with no application around them.
void measureClient() {
    test::World world;
    world.signIn();
    TokenProvider token = [auth = &world.model().auth()](std::stop_token stop) {
        return auth->accessToken(std::move(stop));
    };
    const TeskalAPI api(world.config.baseURL, token, world.http, world.clock, QStringLiteral("1"));
    ChatMessage message;
    message.content = question;
    const ChatCallbacks callbacks([](const JSONValue&) {}, [](const QString&) {}, [](const JSONValue&) {});
    const Growth growth = measure([&] {
        auto asking =
            test::start([&](std::stop_token stop) { return api.chat({message}, false, callbacks, stop); });
        asking.result();
    });
    print(QStringLiteral("1,000 answers: service and client alone"), growth, true);
}

/// Asks again and waits for the end.
void askAgain(test::World& world, const QString& chat) {
    world.model().retry();
    waitFor("an answer", [&] { return !world.model().isAnswering(chat); });
    const ChatMessage answer = world.last(chat);
    if (answer.error || answer.content.isEmpty())
        throw std::runtime_error("an answer failed");
    world.page.takeCalls();
}

void soak(
    const QString& title, test::World& world, const std::function<void()>& drawn = [] {}) {
    const QString chat = world.send(question);
    waitFor("the first answer", [&] { return !world.model().isAnswering(chat); });
    const Growth growth = measure([&] {
        askAgain(world, chat);
        drawn();
    });
    print(title, growth, false);
}

void measureModel() {
    test::World world;
    world.signIn();
    soak(QStringLiteral("1,000 answers: with model, stores, history and bridge"), world);
}

void measurePage() {
    test::World world;
    world.signIn();
    test::EnginePage page;
    world.model().transcript().setPage(&page.port());
    if (!page.open())
        throw std::runtime_error("the transcript page did not open");
    // Scripts run in the order in which they were sent: the answer to this one comes after all drawing.
    const QString elements = QStringLiteral("document.getElementsByTagName('*').length");
    const int before = page.evaluate(elements).toInt();
    soak(QStringLiteral("1,000 answers: with the page too"), world, [&] { page.evaluate(elements); });
    std::printf("elements in the page: %d before, %d after\n", before, page.evaluate(elements).toInt());
    world.model().transcript().setPage(nullptr); // the page goes first
}

struct Part {
    const char* name;
    void (*measure)();
};

constexpr Part parts[] = {{"client", measureClient}, {"model", measureModel}, {"page", measurePage}};

int runHere(int argc, char** argv, QByteArrayView name) {
    qputenv("QT_QPA_PLATFORM", qEnvironmentVariableIsSet("DISPLAY") ? "xcb" : "offscreen");
    // The engine tells at length how it runs; that is not what was asked.
    qputenv("QT_LOGGING_RULES", "qt.webenginecontext=false");
    prepareEngineEnvironment();
    const QApplication application(argc, argv);
    try {
        for (const Part& part : parts)
            if (name == part.name)
                part.measure();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}

/// In a process of its own, with nothing of the others in its memory.
bool runApart(const char* program, const char* name) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QString::fromLocal8Bit(program), {QStringLiteral("--part"), QString::fromLatin1(name)});
    return process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

} // namespace

int main(int argc, char** argv) {
    const QByteArrayView option = argc == 3 ? argv[1] : "";
    if (option == "--part")
        return runHere(argc, argv, argv[2]);
    bool measured = true;
    for (const Part& part : parts)
        if (option != "--only" || QByteArrayView(argv[2]) == part.name)
            measured = runApart(argv[0], part.name) && measured;
    return measured ? 0 : 2;
}
