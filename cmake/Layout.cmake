# The build tree has the layout of the installation: the programs in bin/, the platform library in lib/, the plugin's
# bundle in lib/velmora/. In both, each part finds the others relative to itself, so either can be moved as a whole.
include(GNUInstallDirs)
file(RELATIVE_PATH VELMORA_LIBRARIES_FROM_PROGRAMS ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
if(NOT VELMORA_LIBRARIES_FROM_PROGRAMS MATCHES "^\\.\\./[^.]")
    message(FATAL_ERROR "CMAKE_INSTALL_BINDIR and CMAKE_INSTALL_LIBDIR must be next to each other, as bin and lib are")
endif()
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
cmake_path(APPEND CMAKE_RUNTIME_OUTPUT_DIRECTORY ${VELMORA_LIBRARIES_FROM_PROGRAMS}
           OUTPUT_VARIABLE CMAKE_LIBRARY_OUTPUT_DIRECTORY)
cmake_path(NORMAL_PATH CMAKE_LIBRARY_OUTPUT_DIRECTORY)

# Relative to the platform library's folder.
set(VELMORA_BUNDLE_FROM_LIBRARIES velmora/VelmoraSwitch.bundle)
set(VELMORA_BUNDLE ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/${VELMORA_BUNDLE_FROM_LIBRARIES})

# Installed files already have their final run path in the build tree: CMake would pad one that it has to replace with
# empty elements, which to the loader mean the current folder. scripts/check-hardening checks this.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
# velmora_finds_libraries_in(TARGET FOLDER), the folder relative to the target's own
function(velmora_finds_libraries_in target folder)
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${folder}" BUILD_WITH_INSTALL_RPATH ON)
endfunction()
