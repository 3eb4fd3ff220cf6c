#pragma once

#include "HttpValues.h"

#include <string>

namespace teskal::service {

/// The page on which a person says who they are and lets Teskal sign in. Its form posts back `consent`.
HttpReply consentPage(const std::string& consent, const std::string& name, const std::string& email);
/// A page that says why a sign-in cannot go on.
HttpReply signInProblemPage(const std::string& message);

} // namespace teskal::service
