#include "LaunchOptions.h"

#include "CallbackLink.h"
#include "Config.h"

#include <QCommandLineParser>

namespace teskal {

namespace {

LaunchOptions refuse(const QString& why) {
    LaunchOptions options;
    options.action = LaunchOptions::Action::Refuse;
    options.text = QStringLiteral("teskal: %1\nTry \"teskal --help\".").arg(why);
    return options;
}

} // namespace

LaunchOptions LaunchOptions::parse(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Every model. One chat."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version."));
    const QCommandLineOption service(QStringLiteral("service"),
                                     QStringLiteral("Talk to a service on this machine, for example "
                                                    "http://127.0.0.1:8790, with storage of its own."),
                                     QStringLiteral("URL"));
    const QCommandLineOption newChat(QStringLiteral("new-chat"),
                                     QStringLiteral("Begin a new chat in the Teskal that runs."));
    const QCommandLineOption quit(QStringLiteral("quit"), QStringLiteral("End the Teskal that runs."));
    parser.addOptions({help, version, service, newChat, quit});
    parser.addPositionalArgument(QStringLiteral("link"),
                                 QStringLiteral("A link of the sign-in that the desktop hands over."),
                                 QStringLiteral("[link]"));
    if (!parser.parse(arguments))
        return refuse(parser.errorText());

    LaunchOptions options;
    if (parser.isSet(help)) {
        options.action = Action::PrintHelp;
        // Without an application object the parser does not know the name.
        options.text =
            parser.helpText().replace(QStringLiteral("<executable_name>"), QStringLiteral("teskal"));
        return options;
    }
    if (parser.isSet(version)) {
        options.action = Action::PrintVersion;
        options.text = QStringLiteral("teskal " TESKAL_VERSION);
        return options;
    }
    if (parser.isSet(service)) {
        options.service = parser.value(service);
        if (!Config::forLocalService(*options.service))
            return refuse(QStringLiteral("--service takes an http address on this machine, such as "
                                         "http://127.0.0.1:8790"));
    }
    if (parser.isSet(quit))
        options.action = Action::Quit;
    else if (parser.isSet(newChat))
        options.action = Action::NewChat;
    options.callbackLink = callbackLinkIn(parser.positionalArguments());
    if (!parser.positionalArguments().isEmpty() && !options.callbackLink)
        return refuse(QStringLiteral("the argument is not a link of the sign-in"));
    return options;
}

} // namespace teskal
