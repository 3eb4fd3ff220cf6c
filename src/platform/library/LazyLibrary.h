#pragma once

#include <QtGlobal>

namespace teskal {

/// The function \a function of lib\a library.so.\a version, which is loaded when the first of its functions
/// is asked for. Null, and a line in the log, when it is not there. Any thread.
QFunctionPointer lazyFunction(const char* library, int version, const char* function);

} // namespace teskal

// What programs link costs time at every start, whether it is used or not. A header of functions that are
// loaded instead declares FUNCTIONS(USE, Table), which applies USE(library, version, function, Table) to
// each, a struct Table with a member TESKAL_LAZY_MEMBER for each and a static `get`, and TESKAL_LAZY_CALL for
// each: objects that stand before the functions of the same names in that namespace, so that calls look the
// same.

// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are names that are declared
#define TESKAL_LAZY_MEMBER(library, version, function, Table)                                                \
    decltype(&::function) function =                                                                         \
        reinterpret_cast<decltype(&::function)>(teskal::lazyFunction(#library, version, #function));

#define TESKAL_LAZY_IS_THERE(library, version, function, Table) &&function

/// Must not be called where not all of the table is there.
#define TESKAL_LAZY_CALL(library, version, function, Table)                                                  \
    inline constexpr auto function = [](auto... arguments) { return Table::get().function(arguments...); };
// NOLINTEND(bugprone-macro-parentheses)
