#pragma once

#include "PagePort.h"

#include <functional>

namespace teskal::test {

/// A transcript page that tells which messages it is given one by one.
class WatchedPage final : public PagePort {
public:
    explicit WatchedPage(std::function<void(const QString& messageId)> onMessage)
        : onMessage_(std::move(onMessage)) {}

    void call(const QByteArray&, const QList<QByteArray>&) override {}
    void upsert(const ChatMessage& message) override { onMessage_(message.id); }
    void reload() override {}

    void sendReady() { Q_EMIT messageReceived({{u"type"_qs, u"ready"_qs}}); }

private:
    std::function<void(const QString&)> onMessage_;
};

} // namespace teskal::test
