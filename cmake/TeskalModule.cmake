# teskal_module(<name> SOURCES … LIBS …)
# What the program loads when it first needs it: teskal-<name>.so, beside the programs in the build tree. Its
# copies of the rooms below are its own, so that only its entry is exported; what is missing fails to link.
function(teskal_module name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_library(teskal_${name}_module MODULE ${ARG_SOURCES})
    target_link_libraries(teskal_${name}_module PRIVATE teskal_options teskal_module ${ARG_LIBS})
    target_link_options(teskal_${name}_module PRIVATE
        -Wl,-z,defs "-Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/module.map")
    set_target_properties(teskal_${name}_module PROPERTIES
        PREFIX "" OUTPUT_NAME "teskal-${name}" LIBRARY_OUTPUT_DIRECTORY "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}"
        LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/module.map")
    # One folder further down than where the system looks for libraries: these are nobody else's.
    install(TARGETS teskal_${name}_module LIBRARY DESTINATION lib/teskal/modules)
endfunction()
