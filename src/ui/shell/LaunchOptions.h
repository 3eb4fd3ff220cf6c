#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

namespace teskal {

/// What the command line asks for.
struct LaunchOptions {
    /// NewChat and Quit are for the application that runs already; without one, the first is a plain start
    /// and the second does nothing.
    enum class Action { Run, NewChat, Quit, PrintHelp, PrintVersion, Refuse };

    Action action = Action::Run;
    QString text;                     ///< what to print for the last three
    std::optional<QString> service;   ///< origin of a service on this machine
    std::optional<QUrl> callbackLink; ///< a sign-in's link that the desktop hands over

    /// \a arguments begin with the program's name. Needs no application object, so help works without a
    /// display.
    static LaunchOptions parse(const QStringList& arguments);
};

} // namespace teskal
