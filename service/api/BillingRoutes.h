#pragma once

#include "HttpValues.h"
#include "ServiceState.h"

namespace teskal::service {

/// GET /api/billing: the balance.
HttpReply getBilling(const HttpRequest& request, SharedState& state, const std::string& account);
/// POST /api/billing: begins a purchase and names the page on which it goes on.
HttpReply postBilling(const HttpRequest& request, SharedState& state, const std::string& account);

// The page of a purchase and its button. A browser opens it without a token: the identifier in its address,
// which cannot be guessed and dies after an hour, stands for the account.
HttpReply showCheckout(const HttpRequest& request, SharedState& state);
HttpReply payCheckout(const HttpRequest& request, SharedState& state);

} // namespace teskal::service
