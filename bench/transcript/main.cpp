#include "EngineEnvironment.h"
#include "Parts.h"
#include "TaskTrace.h"

#include <QApplication>
#include <QProcess>

#include <cstdio>
#include <stdexcept>

using namespace teskal;
using namespace teskal::bench;

namespace {

struct Part {
    const char* name;
    void (*measure)();
};

constexpr Part parts[] = {{"streaming", measureStreaming},
                          {"opening", measureOpening},
                          {"idle", measureIdle},
                          {"pushing", measurePushing},
                          {"startup", measureStartup}};
constexpr Part openers[] = {{"transcript", openTranscriptPage}, {"bare", openBarePage}};

/// Runs the one of \a known that is called \a name in this process, which becomes one with an engine.
template<std::size_t count>
int runHere(const Part (&known)[count], QByteArrayView name, int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", qEnvironmentVariableIsSet("DISPLAY") ? "xcb" : "offscreen");
    // The engine tells at length how it runs; that is not what was asked.
    qputenv("QT_LOGGING_RULES", "qt.webenginecontext=false");
    if (name == "opening")
        openDebuggingPort();
    prepareEngineEnvironment();
    const QApplication application(argc, argv);
    for (const Part& part : known) {
        if (name != part.name)
            continue;
        try {
            part.measure();
            return 0;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s: %s\n", part.name, error.what());
        }
    }
    return 2;
}

/// Runs a part in a process of its own, so that none finds the engine as another has left it.
bool runApart(const char* program, const char* name) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QString::fromLocal8Bit(program), {QStringLiteral("--part"), QString::fromLatin1(name)});
    return process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

/// Measures all parts, or the one called \a only. Whether an aim is held is for the reader; the status tells
/// only whether all could be measured.
int run(const char* program, QByteArrayView only) {
    bool measured = true;
    bool known = false;
    for (const Part& part : parts) {
        if (!only.isEmpty() && only != part.name)
            continue;
        known = true;
        measured = runApart(program, part.name) && measured;
    }
    if (!known)
        std::fprintf(stderr, "usage: bench_transcript [--only streaming|opening|idle|pushing|startup]\n");
    return known && measured ? 0 : 2;
}

} // namespace

int main(int argc, char** argv) {
    const QByteArrayView option = argc == 3 ? argv[1] : "";
    if (option == "--part")
        return runHere(parts, argv[2], argc, argv);
    if (option == "--open")
        return runHere(openers, argv[2], argc, argv);
    return run(argv[0], argc == 1 ? QByteArrayView() : option == "--only" ? QByteArrayView(argv[2]) : "?");
}
