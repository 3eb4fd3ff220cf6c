#pragma once

#include <string_view>

namespace teskal::service {

/// True for what may name a chat or a file: 4 to 64 of [A-Za-z0-9_-].
bool isIdentifier(std::string_view text);

} // namespace teskal::service
