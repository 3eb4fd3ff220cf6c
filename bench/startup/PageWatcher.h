#pragma once

class QWidget;

namespace teskal::bench {

/// Says "transcript" when the page in \a view, which holds a chat, has drawn a message.
using PageWatcher = void (*)(QWidget* view);

inline constexpr char pageWatcherName[] = "watchPage";

} // namespace teskal::bench
