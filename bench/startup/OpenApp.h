#pragma once

class QApplication;

namespace teskal {
class EarlyFonts;
}

namespace teskal::bench {

/// Runs the application against the service at \a origin, as the program does, and selects the newest chat as
/// soon as there is one. Says "picture" when the window has been painted and "transcript" when the page has
/// drawn the chat. Returns the exit status.
int openApp(QApplication& application, EarlyFonts& fonts, const char* origin);

} // namespace teskal::bench
