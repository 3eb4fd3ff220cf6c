#pragma once

#include "HttpValues.h"
#include "ServiceState.h"

namespace teskal::service {

/// POST /api/transcribe: a sentence that says what was heard, in bytes.
HttpReply transcribe(const HttpRequest& request, SharedState& state, const std::string& account);
/// POST /api/speech: tones in place of a voice, as audio/wav.
HttpReply speech(const HttpRequest& request, SharedState& state, const std::string& account);

} // namespace teskal::service
