#pragma once

#include "ChatRequest.h"
#include "EventStream.h"

#include <string>

namespace teskal::service::texts {

// The built-in answers that are written out. Each returns all that happens while it is written.
Script trip();
Script parser();
Script table();
Script code();
Script math();
Script list();
Script search();
Script everything();
/// About 100 KB.
Script longRead();
Script slow();
/// `kinds` is a Markdown list of what can be asked for.
Script help(const std::string& kinds);
Script thoughtful(const ChatRequest& request);

std::string songLyrics();

} // namespace teskal::service::texts
