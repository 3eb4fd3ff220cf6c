#pragma once

#include <optional>
#include <string_view>

namespace teskal::service {

/// The text of the value of member `name` in `object`, exactly as written, without white space around it.
/// `object` must be JSON that was found well-formed; nothing when it is no object or lacks the member. The
/// last of several members of one name counts, as it does for the parser.
std::optional<std::string_view> memberText(std::string_view object, std::string_view name);

} // namespace teskal::service
