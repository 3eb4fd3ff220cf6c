#pragma once

#include <string>
#include <string_view>

namespace teskal::service {

/// A WAV file (RIFF, 16-bit mono) with a melody of twelve seconds whose notes follow from `prompt`.
std::string melody(std::string_view prompt);
/// A WAV file in which a soft tone stands for each word of `text`, as long as it might take to say it, at
/// most 30 seconds.
std::string murmur(std::string_view text);

} // namespace teskal::service
