#pragma once

#include "Chat.h"
#include "HttpSession.h"
#include "Pending.h"
#include "ReadyToken.h"
#include "ServiceControl.h"
#include "SystemClock.h"
#include "TeskalAPI.h"
#include "WireConversion.h"

namespace teskal::test {

/// Another device of one account: reads and changes its chats at the service, each time to the end.
class OtherDevice {
public:
    /// \a token is an access token of the account.
    OtherDevice(const LocalService& service, const QString& token)
        : api_(
              service.origin(), [token](std::stop_token) { return readyToken(token); }, http_, clock_,
              u"1"_qs) {}

    /// Identifiers of the chats at the service, in a fixed order; not the deleted ones.
    QStringList chats() {
        const ChatList list = waitFor([&](std::stop_token stop) { return api_.listChats(stop); });
        QStringList ids;
        for (const ChatListEntry& entry : list.chats)
            if (!entry.deleted)
                ids.append(entry.id);
        return ids;
    }
    /// None when the service does not know the chat.
    std::optional<Chat> chat(const QString& id) {
        const auto wire = waitFor([&](std::stop_token stop) { return api_.getChat(id, stop); });
        return wire ? std::optional(localChat(*wire, nullptr, 0)) : std::nullopt;
    }
    /// Gives the chat another title, later than its last change by \a laterMs.
    void rename(const QString& id, const QString& title, double laterMs) {
        auto wire = waitFor([&](std::stop_token stop) { return api_.getChat(id, stop); });
        if (!wire)
            return;
        wire->title = title;
        wire->updatedAt += laterMs;
        waitFor([&](std::stop_token stop) { return api_.putChat(*wire, stop); });
    }
    void remove(const QString& id, double at) {
        waitFor([&](std::stop_token stop) { return api_.deleteChat(id, at, stop); });
    }

private:
    SystemClock clock_;
    HttpSession http_{clock_};
    TeskalAPI api_;
};

} // namespace teskal::test
