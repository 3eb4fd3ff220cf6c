#pragma once

#include "Control.h"
#include "Guarded.h"
#include "OAuthProvider.h"

#include <string>

namespace teskal::service {

/// How a sign-in goes when nobody is there to press a button.
struct ConsentPolicy {
    bool automatic = false;
    bool deny = false;
    std::string name = "You";
    std::string email = "you@example.org";
};

/// Everything that outlives a request.
struct ServiceState {
    OAuthProvider oauth;
    ConsentPolicy consent;
    Control control;
};

using SharedState = Guarded<ServiceState>;

} // namespace teskal::service
