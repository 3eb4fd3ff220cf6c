# Bundles the transcript page into the build folder whenever one of its sources changes.
function(teskal_bundle_renderer target output)
    set(source_dir "${PROJECT_SOURCE_DIR}/src/transcript/renderer")
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${source_dir}/*.ts" "${source_dir}/*.css"
        "${source_dir}/*.html" "${source_dir}/*.mjs")
    find_program(NODE_PROGRAM node REQUIRED)
    add_custom_command(
        OUTPUT "${output}/index.html"
        COMMAND "${NODE_PROGRAM}" "${source_dir}/build.mjs" --outdir "${output}"
        DEPENDS ${sources} "${PROJECT_SOURCE_DIR}/package-lock.json"
        WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}"
        COMMENT "Bundling the transcript page"
        VERBATIM)
    add_custom_target(${target} DEPENDS "${output}/index.html")
endfunction()
