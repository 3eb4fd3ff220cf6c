#pragma once

class QWidget;

namespace teskal {

/// Settles how Qt and the web engine run here. Must run before the application object is made; what the user
/// has set in the environment stays.
void prepareEngineEnvironment();

/// Lets the engine draw into \a window, which has not been shown yet, later. Where it draws with OpenGL, a
/// window that was not made for that is taken from the screen and made again when the engine comes.
void prepareForEngine(QWidget& window);

} // namespace teskal
