# velmora_add_bundle(TARGET
#     PRINCIPAL_CLASS name             the class in the module's VelmoraBundleEntry
#     SOURCES file...                  one of them defines VelmoraBundleEntry
#     [NAME text] [IDENTIFIER text]    for people and for other programs; both are TARGET if not given
#     [VERSION text]                   the project's if not given
#     [RESOURCES file...]
#     [OUTPUT_DIRECTORY folder]        the current binary folder if not given
#     [INSTALL_DESTINATION folder])    nothing is installed if not given
#
# Makes the module TARGET in the folder TARGET.bundle, which a host loads. The module exports VelmoraBundleEntry and
# nothing else, so that it cannot collide with the host or with other plugins.
function(velmora_add_bundle target)
    cmake_parse_arguments(PARSE_ARGV 1 BUNDLE ""
        "PRINCIPAL_CLASS;NAME;IDENTIFIER;VERSION;OUTPUT_DIRECTORY;INSTALL_DESTINATION" "SOURCES;RESOURCES")
    if(BUNDLE_UNPARSED_ARGUMENTS OR NOT BUNDLE_PRINCIPAL_CLASS OR NOT BUNDLE_SOURCES)
        message(FATAL_ERROR "velmora_add_bundle(${target}) needs PRINCIPAL_CLASS and SOURCES, and does not know: ${BUNDLE_UNPARSED_ARGUMENTS}")
    endif()
    set(BUNDLE_DEFAULT_NAME ${target})
    set(BUNDLE_DEFAULT_IDENTIFIER velmora.${target})
    set(BUNDLE_DEFAULT_VERSION "${PROJECT_VERSION}")
    set(BUNDLE_DEFAULT_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
    foreach(argument NAME IDENTIFIER VERSION OUTPUT_DIRECTORY)
        if(NOT DEFINED BUNDLE_${argument})
            set(BUNDLE_${argument} "${BUNDLE_DEFAULT_${argument}}")
        endif()
    endforeach()
    # As XML has them.
    foreach(argument NAME IDENTIFIER VERSION)
        string(REPLACE "&" "&amp;" BUNDLE_${argument} "${BUNDLE_${argument}}")
        string(REPLACE "<" "&lt;" BUNDLE_${argument} "${BUNDLE_${argument}}")
    endforeach()

    set(bundle ${BUNDLE_OUTPUT_DIRECTORY}/${target}.bundle)
    set(exports ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/bundle-exports.map)
    add_library(${target} MODULE ${BUNDLE_SOURCES})
    set_target_properties(${target} PROPERTIES
        PREFIX ""
        LIBRARY_OUTPUT_DIRECTORY $<1:${bundle}/Contents>
        LINK_DEPENDS ${exports}
    )
    target_link_libraries(${target} PRIVATE Velmora::Plugin)
    target_link_options(${target} PRIVATE LINKER:--version-script=${exports})
    configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/Info.plist.in ${bundle}/Contents/Info.plist @ONLY)
    foreach(resource ${BUNDLE_RESOURCES})
        cmake_path(GET resource FILENAME name)
        configure_file(${resource} ${bundle}/Contents/Resources/${name} COPYONLY)
    endforeach()

    if(BUNDLE_INSTALL_DESTINATION)
        set(contents ${BUNDLE_INSTALL_DESTINATION}/${target}.bundle/Contents)
        install(TARGETS ${target} LIBRARY DESTINATION ${contents})
        install(FILES ${bundle}/Contents/Info.plist DESTINATION ${contents})
        install(FILES ${BUNDLE_RESOURCES} DESTINATION ${contents}/Resources)
    endif()
endfunction()
