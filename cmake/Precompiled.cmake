# The headers that cost the compiler most are read once for many files. Only for builds that check: the other builds and
# clang-tidy show when a file does not include what it uses.
#
# velmora_precompile(NAME HEADERS ... LIBRARIES ... TARGETS ...)
function(velmora_precompile name)
    cmake_parse_arguments(ARG "" "" "HEADERS;LIBRARIES;TARGETS" ${ARGN})
    file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/${name}.cpp CONTENT "")
    add_library(${name} OBJECT ${CMAKE_BINARY_DIR}/${name}.cpp)
    target_link_libraries(${name} PRIVATE velmora-compiler ${ARG_LIBRARIES})
    target_precompile_headers(${name} PRIVATE ${ARG_HEADERS})
    foreach(target ${ARG_TARGETS})
        target_precompile_headers(${target} REUSE_FROM ${name})
    endforeach()
endfunction()

set(standard <algorithm> <array> <atomic> <chrono> <filesystem> <functional> <map> <memory> <mutex> <optional> <span>
             <string> <string_view> <thread> <utility> <vector>)
velmora_precompile(velmora-precompiled HEADERS ${standard}
    TARGETS velmora-transport velmora-switcher velmora-discovery velmora-plugin velmora-server velmora-host-parts
            velmora-terminal
)
target_precompile_headers(velmora-platform PRIVATE ${standard})  # by itself: Avahi's flags are its own
velmora_precompile(velmora-precompiled-windows LIBRARIES Qt6::Widgets
    HEADERS ${standard} <QAbstractTableModel> <QApplication> <QHeaderView> <QJsonObject> <QLabel> <QPushButton>
            <QStyledItemDelegate> <QTableView> <QTimer> <QVBoxLayout>
    TARGETS velmora-widgets velmora-settings velmora-workbench
)
if(VELMORA_BUILD_TESTS)
    get_property(programs GLOBAL PROPERTY VELMORA_TEST_PROGRAMS)
    velmora_precompile(velmora-precompiled-tests HEADERS ${standard} <gtest/gtest.h> LIBRARIES GTest::gtest
        TARGETS ${programs})
endif()
