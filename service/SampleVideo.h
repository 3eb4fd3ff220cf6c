#pragma once

#include <string>

namespace teskal::service {

/// A sunrise over hills: two seconds, 160 by 90, VP8 in WebM. The same for every prompt.
std::string sampleVideo();

} // namespace teskal::service
