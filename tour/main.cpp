#include "EngineEnvironment.h"
#include "EngineParts.h"
#include "LogSink.h"
#include "Stage.h"
#include "TeskalApp.h"
#include "Tour.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include <cstdio>

int main(int argc, char* argv[]) {
    QCoreApplication::setApplicationName(QStringLiteral("teskal"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Teskal"));
    teskal::installLogSink();
    teskal::prepareEngineEnvironment();
    QApplication application(argc, argv);

    QCommandLineParser parser;
    parser.addOptions(
        {{QStringLiteral("service"), QStringLiteral("Origin of the local service."), QStringLiteral("URL")},
         {QStringLiteral("look"), QStringLiteral("light or dark."), QStringLiteral("look")},
         {QStringLiteral("pictures"), QStringLiteral("Where they go."), QStringLiteral("folder")}});
    parser.process(application);
    const auto config = teskal::Config::forLocalService(parser.value(QStringLiteral("service")));
    if (!config) {
        std::fputs("teskal-tour: --service is missing or not on this machine\n", stderr);
        return 2;
    }

    const QString look = parser.value(QStringLiteral("look"));
    teskal::EngineParts web;
    teskal::TeskalApp app(application, *config, web);
    app.theme().setAppearance(look == QLatin1String("dark") ? teskal::Appearance::Dark
                                                            : teskal::Appearance::Light);
    teskal::tour::Stage stage(parser.value(QStringLiteral("pictures")), look);
    teskal::tour::Tour tour(app, stage);
    app.showWindow();
    QTimer::singleShot(0, &application, [&] {
        tour.play();
        app.quit();
    });
    return QApplication::exec();
}
