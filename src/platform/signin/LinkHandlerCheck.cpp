#include "LinkHandlerCheck.h"

#include "AuthorizationRequest.h"
#include "Completion.h"
#include "DesktopEntry.h"

#include <QProcess>

namespace teskal {

namespace {

constexpr std::chrono::seconds answerTime{3};

} // namespace

QCoro::Task<bool> LinkHandlerCheck::linksComeHere(std::stop_token token) const {
    const QString ours = desktopFile_;
    const auto entry = DesktopEntry::installed(ours);
    if (!entry || !entry->starts(installation_))
        co_return false;
    CompletionSource<void> ended;
    QProcess process;
    QObject::connect(&process, &QProcess::finished, &process, [&ended] { ended.succeed(); });
    QObject::connect(&process, &QProcess::errorOccurred, &process, [&ended] { ended.succeed(); });
    const auto timer = clock_.after(answerTime, [&ended] { ended.succeed(); });
    const QString type = QStringLiteral("x-scheme-handler/") + oauth::callbackScheme;
    process.start(program_, {QStringLiteral("query"), QStringLiteral("default"), type});
    const auto completion = ended.completion();
    co_await completion.wait(token);
    const bool answered = process.state() == QProcess::NotRunning &&
                          process.error() == QProcess::UnknownError &&
                          process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    const QString handler = QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    process.kill(); // one that has not answered; reaped by the destructor
    co_return answered&& handler == ours;
}

} // namespace teskal
