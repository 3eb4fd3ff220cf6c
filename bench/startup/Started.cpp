#include "Started.h"

#include "ProcessTree.h"
#include "ProcessUse.h"

#include <QCoreApplication>

#include <stdexcept>

namespace teskal::bench {

namespace {

constexpr int longestWait = 60'000; ///< ms

} // namespace

Started::Started(const QString& program, const QStringList& arguments,
                 const QProcessEnvironment& environment) {
    process_.setProcessEnvironment(environment);
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    begin_ = std::chrono::steady_clock::now();
    process_.start(QCoreApplication::applicationDirPath() + u'/' + program, arguments);
}

Started::~Started() {
    process_.terminate();
    if (!process_.waitForFinished(longestWait))
        process_.kill();
    process_.waitForFinished();
}

double Started::timeTo(const QByteArray& word) {
    while (true) {
        while (!process_.canReadLine())
            if (!process_.waitForReadyRead(longestWait))
                throw std::runtime_error("a started process did not say: " + word.toStdString());
        const auto now = std::chrono::steady_clock::now();
        if (process_.readLine().trimmed() == word)
            return std::chrono::duration<double, std::milli>(now - begin_).count();
    }
}

double Started::cpu() const {
    double all = 0;
    for (const qint64 process : helperProcesses())
        all += processCpu(process);
    return all;
}

double Started::memory() const {
    double all = 0;
    for (const qint64 process : helperProcesses())
        all += proportionalMemory(process);
    return all;
}

} // namespace teskal::bench
