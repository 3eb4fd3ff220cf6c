#include "BenchMain.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>

#include <cstdio>
#include <stdexcept>

namespace teskal::bench {

int benchMain(int argc, char** argv, const std::function<int(const QString&)>& measure,
              const std::function<int(const QString&)>& printPeak) {
    const QCoreApplication application(argc, argv);
    try {
        if (printPeak && argc == 3 && QByteArrayView(argv[1]) == "--peak")
            return printPeak(QFile::decodeName(argv[2]));
        return measure(argc > 1 ? QFile::decodeName(argv[1]) : QDir::tempPath());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}

qint64 measurePeak(const QString& path) {
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--peak"), path});
    if (!process.waitForFinished(60'000) || process.exitCode() != 0)
        throw std::runtime_error("could not measure memory");
    return process.readAllStandardOutput().trimmed().toLongLong();
}

} // namespace teskal::bench
