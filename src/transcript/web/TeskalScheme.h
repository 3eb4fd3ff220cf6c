#pragma once

#include <QByteArray>

namespace teskal {

/// The private scheme under which the transcript page lives. No request of it leaves the machine.
inline constexpr char teskalScheme[] = "teskal-app";

/// Tells the web engine about the scheme, once. Must run before the first profile is made.
void registerTeskalScheme();

} // namespace teskal
