#include "OtherDevice.h"

#include "Pending.h"
#include "WireConversion.h"

#include <algorithm>

namespace teskal::test {

namespace {

QCoro::Task<QString> given(QString token) {
    co_return token;
}

} // namespace

OtherDevice::OtherDevice(const LocalService& service, const QString& token)
    : api_(
          service.origin(), [token](std::stop_token) { return given(token); }, http_, clock_,
          QStringLiteral("1")) {}

QStringList OtherDevice::chats() {
    const ChatList list = waitFor([&](std::stop_token stop) { return api_.listChats(stop); });
    QStringList ids;
    for (const ChatListEntry& entry : list.chats)
        if (!entry.deleted)
            ids.append(entry.id);
    return ids;
}

std::optional<Chat> OtherDevice::chat(const QString& id) {
    const auto wire = waitFor([&](std::stop_token stop) { return api_.getChat(id, stop); });
    return wire ? std::optional(localChat(*wire, nullptr, 0)) : std::nullopt;
}

void OtherDevice::rename(const QString& id, const QString& title, double laterMs) {
    auto wire = waitFor([&](std::stop_token stop) { return api_.getChat(id, stop); });
    if (!wire)
        return;
    wire->title = title;
    wire->updatedAt += laterMs;
    waitFor([&](std::stop_token stop) { return api_.putChat(*wire, stop); });
}

void OtherDevice::remove(const QString& id, double at) {
    waitFor([&](std::stop_token stop) { return api_.deleteChat(id, at, stop); });
}

} // namespace teskal::test
