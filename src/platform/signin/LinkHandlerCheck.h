#pragma once

#include "Clock.h"

#include <QCoroTask>
#include <QString>

#include <stop_token>

namespace teskal {

/// Asks the desktop (xdg-mime) which application opens the provider's callback links. No answer within a few
/// seconds, no such tool, or a desktop file of ours that starts another installation counts as "another".
class LinkHandlerCheck {
public:
    /// \a desktopFile is the name of our own desktop file, for example "teskal.desktop", and \a installation
    /// the program that it has to start. \a program is looked up in the path.
    LinkHandlerCheck(Clock& clock, QString desktopFile, QString installation,
                     QString program = QStringLiteral("xdg-mime"))
        : clock_(clock), desktopFile_(std::move(desktopFile)), installation_(std::move(installation)),
          program_(std::move(program)) {}

    /// True when the links come to this application. Throws Cancelled when \a token is set.
    QCoro::Task<bool> linksComeHere(std::stop_token token) const;

private:
    Clock& clock_;
    QString desktopFile_;
    QString installation_;
    QString program_;
};

} // namespace teskal
