#pragma once

#include <QLatin1String>

namespace teskal {

/// What the module teskal-<\a name>.so gives; loads it at the first call. Null, and a line in the log, when
/// it is missing or another build's; asked again, it tries again. It is never unloaded.
///
/// Program and module each have their own copy of the rooms that both use: only values, abstract interfaces,
/// signals and exceptions pass between them. Main thread only.
void* moduleParts(const char* name);

} // namespace teskal

// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are names of types
/// Stands in a module: gives the program one \a Parts, as what it implements, \a Interface.
#define TESKAL_MODULE(Interface, Parts)                                                                      \
    extern "C" __attribute__((visibility("default"))) void* teskalModule(const char* version);               \
    void* teskalModule(const char* version) {                                                                \
        if (QLatin1String(version) != QLatin1String(TESKAL_VERSION))                                         \
            return nullptr;                                                                                  \
        static Parts parts;                                                                                  \
        return static_cast<Interface*>(&parts);                                                              \
    }
// NOLINTEND(bugprone-macro-parentheses)
