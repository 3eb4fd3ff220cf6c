#pragma once

#include <string>
#include <string_view>

namespace teskal::service {

/// A small picture as a PNG file: hills under a sky whose colours follow from `prompt`.
std::string drawPicture(std::string_view prompt);

} // namespace teskal::service
