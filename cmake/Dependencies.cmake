# System libraries (Debian 12; scripts/install-dependencies lists the packages).
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui LinguistTools Widgets UiTools)
pkg_check_modules(AVAHI REQUIRED IMPORTED_TARGET avahi-client)
pkg_check_modules(AVAHI_CORE REQUIRED IMPORTED_TARGET avahi-core)  # only for velmora-mdns
if(VELMORA_BUILD_TESTS)
    find_package(Qt6 6.4 REQUIRED COMPONENTS Test)
    find_package(GTest REQUIRED)
endif()
