#pragma once

namespace teskal {

/// Sends every log line of the process to standard error and, through syslog, to the system journal; the
/// page's console, which may quote addresses, is left out.
/// Call once, before the application object exists.
void installLogSink();

} // namespace teskal
