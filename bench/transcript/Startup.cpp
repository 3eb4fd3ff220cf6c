#include "BareView.h"
#include "Claim.h"
#include "EnginePage.h"
#include "Parts.h"
#include "Quantile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>

#include <cstdio>
#include <stdexcept>

namespace teskal::bench {

namespace {

constexpr int starts = 7;

/// Milliseconds from the start of this program as \a opener until it says that its page is there.
double timeToReady(const QString& opener) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    const auto begin = std::chrono::steady_clock::now();
    process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--open"), opener});
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(60'000))
            throw std::runtime_error("a page did not open");
    }
    const auto end = std::chrono::steady_clock::now();
    if (process.readLine() != "ready\n" || !process.waitForFinished())
        throw std::runtime_error("a page did not open");
    return std::chrono::duration<double, std::milli>(end - begin).count();
}

void sayReady() {
    std::puts("ready");
    std::fflush(stdout);
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("could not read " + path.toStdString());
    return file.readAll();
}

/// Bytes of a script and all that it imports before it runs. \a seen are those already counted.
qint64 staticSize(const QString& path, QSet<QString>& seen) {
    if (seen.contains(path))
        return 0;
    seen.insert(path);
    const QByteArray script = contentOf(path);
    // Minified: import{…}from"./x.js", import"./x.js", export{…}from"./x.js"; import("./x.js") comes later.
    static const QRegularExpression import(QStringLiteral(R"((?:\bimport|\bfrom)\s*["'](\.[^"']+\.js)["'])"));
    qint64 size = script.size();
    auto matches = import.globalMatch(QString::fromUtf8(script));
    while (matches.hasNext()) {
        const QDir folder = QFileInfo(path).dir();
        size += staticSize(QDir::cleanPath(folder.filePath(matches.next().captured(1))), seen);
    }
    return size;
}

qint64 blockingSize() {
    const QDir renderer(QCoreApplication::applicationDirPath() + QStringLiteral("/Renderer"));
    QSet<QString> seen;
    return staticSize(renderer.filePath(QStringLiteral("main.js")), seen) +
           QFile(renderer.filePath(QStringLiteral("main.css"))).size();
}

} // namespace

void openTranscriptPage() {
    test::EnginePage page;
    if (!page.open())
        throw std::runtime_error("the transcript page did not open");
    sayReady();
}

void openBarePage() {
    BareView view;
    view.open();
    sayReady();
}

void measureStartup() {
    std::vector<double> bare;
    std::vector<double> ours;
    for (int start = -1; start < starts; ++start) {
        const double bareTime = timeToReady(QStringLiteral("bare"));
        const double ourTime = timeToReady(QStringLiteral("transcript"));
        if (start < 0) // the first turn warms up the files
            continue;
        bare.push_back(bareTime);
        ours.push_back(ourTime);
    }
    printClaims(QStringLiteral("A process starts until its page is ready"),
                {{QStringLiteral("start to \"ready\""),
                  QStringLiteral("ms"),
                  quantile(ours, 0.5),
                  QStringLiteral("blank view, loaded"),
                  quantile(bare, 0.5),
                  {},
                  1.3},
                 {QStringLiteral("scripts and styles before the first picture"),
                  QStringLiteral("KB"),
                  double(blockingSize()) / 1e3,
                  {},
                  {},
                  200}});
}

} // namespace teskal::bench
