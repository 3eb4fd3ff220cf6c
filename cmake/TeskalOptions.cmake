# Language level, warnings, hardening and sanitizers that every target shares.
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_CXX_EXTENSIONS OFF)

add_library(teskal_options_base INTERFACE)
target_compile_features(teskal_options_base INTERFACE cxx_std_20)
target_compile_options(teskal_options_base INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
    # g++ 12 sees overlapping copies in std::string concatenation where there are none (GCC bug 105651).
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    -fstack-protector-strong -fno-omit-frame-pointer)
target_compile_definitions(teskal_options_base INTERFACE _GLIBCXX_ASSERTIONS)
if(TESKAL_SANITIZE)
    target_compile_options(teskal_options_base INTERFACE -fsanitize=${TESKAL_SANITIZE} -fno-sanitize-recover=undefined)
    target_link_options(teskal_options_base INTERFACE -fsanitize=${TESKAL_SANITIZE})
endif()

# What Qt code needs on top: no silent conversions between bytes, text and URLs.
add_library(teskal_options INTERFACE)
target_link_libraries(teskal_options INTERFACE teskal_options_base)
target_compile_definitions(teskal_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH QT_NO_KEYWORDS
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_STRICT_ITERATORS
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
