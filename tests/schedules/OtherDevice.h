#pragma once

#include "Chat.h"
#include "HttpSession.h"
#include "ServiceControl.h"
#include "SystemClock.h"
#include "TeskalAPI.h"

namespace teskal::test {

/// Another device of one account: reads and changes its chats at the service, each time to the end.
class OtherDevice {
public:
    /// \a token is an access token of the account.
    OtherDevice(const LocalService& service, const QString& token);

    /// Identifiers of the chats at the service, in a fixed order; not the deleted ones.
    QStringList chats();
    /// None when the service does not know the chat.
    std::optional<Chat> chat(const QString& id);
    /// Gives the chat another title, later than its last change by \a laterMs.
    void rename(const QString& id, const QString& title, double laterMs);
    void remove(const QString& id, double at);

private:
    SystemClock clock_;
    HttpSession http_{clock_};
    TeskalAPI api_;
};

} // namespace teskal::test
