#include "LocalOnlyInterceptor.h"

#include "TeskalScheme.h"

#include <QUrl>
#include <QWebEngineUrlRequestInfo>

namespace teskal {

void LocalOnlyInterceptor::interceptRequest(QWebEngineUrlRequestInfo& info) {
    const QString scheme = info.requestUrl().scheme();
    const bool local = scheme == QLatin1String(teskalScheme) || scheme == QLatin1String("data") ||
                       scheme == QLatin1String("blob");
    info.block(!local);
}

} // namespace teskal
