#include "SignInPage.h"

#include "AuthorizationRequest.h"
#include "CallbackLink.h"

namespace teskal {

bool SignInPage::acceptNavigationRequest(const QUrl& url, NavigationType, bool isMainFrame) {
    if (url.scheme() == oauth::callbackScheme) {
        // A frame inside the page has no say in who signs in.
        if (isMainFrame)
            Q_EMIT calledBack(url);
        return false;
    }
    return isWebPage(url) || (!isMainFrame && url.scheme() == QLatin1String("about"));
}

} // namespace teskal
