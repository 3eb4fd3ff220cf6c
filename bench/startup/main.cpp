// What the start of the application takes, with 5,000 chats on disk, beside an empty window and a blank web
// view started in the same run; and what it takes when nobody does anything, with a small account.
// Usage: bench_startup [--only start|rest]

#include "Bus.h"
#include "Claim.h"
#include "EarlyFonts.h"
#include "EngineEnvironment.h"
#include "Home.h"
#include "OpenApp.h"
#include "Quantile.h"
#include "Started.h"

#include <QApplication>
#include <QEventLoop>
#include <QTimer>

#include <cstdio>
#include <stdexcept>

using namespace teskal;
using namespace teskal::bench;
using namespace std::chrono_literals;

namespace {

constexpr int manyChats = 5'000;
constexpr int fewChats = 5;
constexpr int starts = 9;
/// For the engine's processes of the program before, and what the display has of it, to come to their end.
constexpr auto betweenStarts = 300ms;
constexpr int rounds = 2;
/// Until libraries are loaded and the engine has collected the garbage of its start.
constexpr auto settling = 15s;
constexpr auto watched = 30s; ///< the service is asked once in it

struct Times {
    std::vector<double> picture;
    std::vector<double> transcript;
};

struct Program {
    QString name;
    QStringList arguments = {};
};

const Program blankWindow{QStringLiteral("bench_blank_window")};
const Program blankView{QStringLiteral("bench_blank_view")};

Program application(const Home& home) {
    return {QStringLiteral("bench_startup"), {QStringLiteral("--open"), home.service()}};
}

double median(const std::vector<double>& values) {
    return quantile(values, 0.5);
}

void idle(std::chrono::milliseconds time) {
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

void measureStart() {
    const Home home(manyChats);
    Times window;
    Times view;
    Times app;
    const auto measure = [&home](const Program& program, Times& times, bool hasPage, bool counts) {
        idle(betweenStarts);
        Started started(program.name, program.arguments, home.environment());
        const double picture = started.timeTo("picture");
        const double transcript = hasPage ? started.timeTo("transcript") : 0;
        if (!counts)
            return; // the first turn warms up the files
        times.picture.push_back(picture);
        times.transcript.push_back(transcript);
    };
    for (int start = -1; start < starts; ++start) {
        measure(blankWindow, window, false, start >= 0);
        measure(blankView, view, true, start >= 0);
        measure(application(home), app, true, start >= 0);
    }
    const auto ms = QStringLiteral("ms");
    printClaims(QStringLiteral("A process starts, %1 chats on disk").arg(manyChats),
                {{QStringLiteral("first picture of the window"),
                  ms,
                  median(app.picture),
                  QStringLiteral("empty window of the toolkit alone"),
                  median(window.picture),
                  {},
                  2},
                 {QStringLiteral("newest chat selected, transcript painted"),
                  ms,
                  median(app.transcript),
                  QStringLiteral("blank web view, painted"),
                  median(view.transcript),
                  {},
                  1.3}});
}

struct Rest {
    double cpu = 0;    ///< ms in a second
    double memory = 0; ///< MB
};

Rest restOf(const Program& program, const Home& home) {
    Started started(program.name, program.arguments, home.environment());
    started.timeTo("transcript");
    idle(settling);
    const double before = started.cpu();
    idle(watched);
    const double seconds = std::chrono::duration<double>(watched).count();
    return {(started.cpu() - before) / seconds / rounds, started.memory() / rounds};
}

void measureRest() {
    const Home home(fewChats);
    Rest view;
    Rest app;
    for (int round = 0; round < rounds; ++round)
        for (auto [program, sum] : {std::pair(blankView, &view), std::pair(application(home), &app)}) {
            const Rest rest = restOf(program, home);
            sum->cpu += rest.cpu;
            sum->memory += rest.memory;
        }
    const QString floor = QStringLiteral("blank web view and a focused field");
    printClaims(
        QStringLiteral("Nobody does anything, %1 chats, all processes").arg(fewChats),
        {{QStringLiteral("CPU"), QStringLiteral("ms/s"), app.cpu, floor, view.cpu, {}, {}, 0.5},
         {QStringLiteral("memory, PSS"), QStringLiteral("MB"), app.memory, floor, view.memory, {}, {}, 60}});
}

/// What every program that is measured finds: the same way to the display.
void prepareEnvironment() {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", qEnvironmentVariableIsSet("DISPLAY") ? "xcb" : "offscreen");
    prepareEngineEnvironment();
}

int runApplication(int argc, char** argv) {
    prepareEngineEnvironment();
    EarlyFonts fonts;
    QApplication application(argc, argv);
    return openApp(application, fonts, argv[2]);
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && QByteArrayView(argv[1]) == "--open")
        return runApplication(argc, argv);
    const QByteArrayView only = argc == 3 && QByteArrayView(argv[1]) == "--only" ? argv[2] : "";
    prepareEnvironment();
    const QCoreApplication application(argc, argv);
    try {
        const Bus bus;
        if (only != "rest")
            measureStart();
        if (only != "start")
            measureRest();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
