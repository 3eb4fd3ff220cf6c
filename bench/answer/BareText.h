#pragma once

#include "Windows.h"

namespace teskal::test {
class EnginePage;
}

namespace teskal::bench {

/// What the engine alone uses to show text that grows as fast as an answer: pieces of the same size, appended
/// to a paragraph at the end of a page that keeps its end in view. The page shows nothing else afterwards.
Cpu measureBareText(test::EnginePage& page);

} // namespace teskal::bench
