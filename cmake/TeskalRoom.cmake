# teskal_room(<name> SOURCES … [PUBLIC …] [PRIVATE …])
# One static library per folder of src/. Its only include root is its own folder, so a room sees
# exactly the rooms it links, and an include that goes up the picture does not compile.
function(teskal_room name)
    cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(teskal_${name} STATIC ${ARG_SOURCES})
    target_include_directories(teskal_${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(teskal_${name} PUBLIC ${ARG_PUBLIC} PRIVATE teskal_options ${ARG_PRIVATE})
    set_target_properties(teskal_${name} PROPERTIES AUTOMOC ON)
endfunction()
