#pragma once

#include "Control.h"
#include "Guarded.h"
#include "OAuthProvider.h"
#include "Options.h"
#include "ServiceClock.h"
#include "storage/AccountTable.h"
#include "storage/ChatTable.h"
#include "storage/FileTable.h"
#include "storage/FolderTable.h"
#include "storage/JobTable.h"
#include "storage/KeyTable.h"

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
    /// Opens the database; throws `DatabaseError` when it cannot be used.
    explicit ServiceState(const Options& options)
        : database(options.stateFile), oauth(options.tokens, database), consent{options.autoConsent},
          jobLife(options.jobLife) {}

    ServiceClock clock;
    Database database;
    ChatTable chats{database};
    FolderTable folders{database};
    FileTable files{database};
    JobTable jobs{database};
    AccountTable accounts{database};
    KeyTable keys{database};
    OAuthProvider oauth;
    ConsentPolicy consent;
    Control control;
    std::chrono::milliseconds jobLife; ///< of jobs to come
};

using SharedState = Guarded<ServiceState>;

} // namespace teskal::service
