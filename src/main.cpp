#include "EngineEnvironment.h"
#include "LaunchOptions.h"
#include "LogSink.h"
#include "SingleInstance.h"
#include "TerminationSignals.h"
#include "TeskalApp.h"

#include <QApplication>

#include <cstdio>

namespace {

QStringList argumentList(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

int print(const teskal::LaunchOptions& options) {
    const bool refused = options.action == teskal::LaunchOptions::Action::Refuse;
    std::fprintf(refused ? stderr : stdout, "%s\n", options.text.toUtf8().constData());
    return refused ? 2 : 0;
}

/// Another start already runs: hand over what this one was started for.
int handOver(teskal::SingleInstance& instance, const teskal::LaunchOptions& options) {
    const auto message = options.callbackLink ? teskal::InstanceMessage::link(*options.callbackLink)
                                              : teskal::InstanceMessage::activate();
    if (instance.tell(message))
        return 0;
    std::fputs(
        "teskal: another Teskal has the data folder and does not answer, or the folder cannot be used\n",
        stderr);
    return 1;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication::setApplicationName(QStringLiteral("teskal"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TESKAL_VERSION));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Teskal"));
    QGuiApplication::setDesktopFileName(QStringLiteral("app.teskal.mac"));
    const auto options = teskal::LaunchOptions::parse(argumentList(argc, argv));
    if (options.action != teskal::LaunchOptions::Action::Run)
        return print(options);

    teskal::installLogSink();
    teskal::prepareEngineEnvironment();
    QApplication application(argc, argv);
    // Before the first moment from which somebody could tell us to end.
    teskal::TerminationSignals termination;

    const auto config =
        options.service ? *teskal::Config::forLocalService(*options.service) : teskal::Config::builtIn();
    teskal::SingleInstance instance(teskal::AppFolders::forUser(config.storageSuffix).data);
    if (!instance.claim())
        return handOver(instance, options);

    teskal::TeskalApp app(application, config);
    QObject::connect(&termination, &teskal::TerminationSignals::received, &app, &teskal::TeskalApp::quit);
    QObject::connect(&instance, &teskal::SingleInstance::activationRequested, &app,
                     &teskal::TeskalApp::showWindow);
    QObject::connect(&instance, &teskal::SingleInstance::linkReceived, &app,
                     &teskal::TeskalApp::openCallbackLink);
    app.showWindow();
    return QApplication::exec();
}
