#pragma once

#include <QWebEngineUrlRequestInterceptor>

namespace teskal {

/// Blocks every request of the transcript's profile that is not under the private scheme or inline data: what
/// a model wrote can never make the page talk to a host, whatever the page's own policy overlooks.
class LocalOnlyInterceptor final : public QWebEngineUrlRequestInterceptor {
    Q_OBJECT

public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;

    void interceptRequest(QWebEngineUrlRequestInfo& info) override;
};

} // namespace teskal
