#pragma once

#include "Clock.h"

#include <QCoroTask>
#include <QString>

#include <stop_token>

namespace teskal {

/// Asks the desktop (xdg-mime) which application opens the provider's callback links. No answer within a few
/// seconds, or no such tool, counts as "another".
class LinkHandlerCheck {
public:
    /// \a desktopFile is the name of our own desktop file, for example "teskal.desktop". \a program is looked
    /// up in the path.
    LinkHandlerCheck(Clock& clock, QString desktopFile, QString program = QStringLiteral("xdg-mime"))
        : clock_(clock), desktopFile_(std::move(desktopFile)), program_(std::move(program)) {}

    /// True when the links come to this application. Throws Cancelled when \a token is set.
    QCoro::Task<bool> linksComeHere(std::stop_token token) const;

private:
    Clock& clock_;
    QString desktopFile_;
    QString program_;
};

} // namespace teskal
