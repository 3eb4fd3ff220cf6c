#include "EarlyFonts.h"
#include "EngineEnvironment.h"
#include "LaunchOptions.h"
#include "LogSink.h"
#include "SingleInstance.h"
#include "TerminationSignals.h"
#include "TeskalApp.h"
#include "WebModule.h"

#include <QApplication>

#include <cstdio>

namespace {

QStringList argumentList(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

using Action = teskal::LaunchOptions::Action;

bool isForTheUserToRead(Action action) {
    return action == Action::PrintHelp || action == Action::PrintVersion || action == Action::Refuse;
}

int print(const teskal::LaunchOptions& options) {
    const bool refused = options.action == Action::Refuse;
    std::fprintf(refused ? stderr : stdout, "%s\n", options.text.toUtf8().constData());
    return refused ? 2 : 0;
}

teskal::InstanceMessage messageFor(const teskal::LaunchOptions& options) {
    if (options.callbackLink)
        return teskal::InstanceMessage::openLink(*options.callbackLink);
    switch (options.action) {
    case Action::Quit:
        return teskal::InstanceMessage::quit();
    case Action::NewChat:
        return teskal::InstanceMessage::newChat();
    default:
        return teskal::InstanceMessage::activate();
    }
}

/// Another start already runs: hand over what this one was started for.
int handOver(teskal::SingleInstance& instance, const teskal::LaunchOptions& options,
             const QByteArray& activationToken) {
    auto message = messageFor(options);
    message.setActivationToken(activationToken);
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
    if (isForTheUserToRead(options.action))
        return print(options);
    // The platform plugin takes the token out of the environment.
    const QByteArray activationToken = qgetenv("XDG_ACTIVATION_TOKEN");

    teskal::installLogSink();
    teskal::prepareEngineEnvironment();
    teskal::EarlyFonts fonts;
    QApplication application(argc, argv);
    // Before the first moment from which somebody could tell us to end.
    teskal::TerminationSignals termination;

    const auto config =
        options.service ? *teskal::Config::forLocalService(*options.service) : teskal::Config::builtIn();
    teskal::SingleInstance instance(teskal::AppFolders::forUser(config.storageSuffix).data);
    if (!instance.claim())
        return handOver(instance, options, activationToken);
    if (options.action == Action::Quit)
        return 0;

    fonts.finish();
    teskal::WebModule web;
    teskal::TeskalApp app(application, config, web);
    QObject::connect(&termination, &teskal::TerminationSignals::received, &app, &teskal::TeskalApp::quit);
    QObject::connect(&instance, &teskal::SingleInstance::activationRequested, &app,
                     &teskal::TeskalApp::activate);
    QObject::connect(&instance, &teskal::SingleInstance::quitRequested, &app, &teskal::TeskalApp::quit);
    QObject::connect(&instance, &teskal::SingleInstance::newChatRequested, &app, &teskal::TeskalApp::newChat);
    QObject::connect(&instance, &teskal::SingleInstance::linkReceived, &app,
                     &teskal::TeskalApp::openCallbackLink);
    app.showWindow();
    return QApplication::exec();
}
