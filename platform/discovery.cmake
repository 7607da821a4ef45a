# DNS-SD, on one thread of its own, through the Avahi daemon or through velmora-mdns.
target_sources(velmora-platform PRIVATE
    network/NSNetService.cpp
    network/NSNetServiceBrowser.cpp
    network/discovery/BackendKeeper.cpp
    network/discovery/ChildProgram.cpp
    network/discovery/DaemonBackend.cpp
    network/discovery/DiscoveredService.cpp
    network/discovery/DiscoveryEngine.cpp
    network/discovery/DiscoveryLoop.cpp
    network/discovery/DiscoveryThread.cpp
    network/discovery/HostAddresses.cpp
    network/discovery/MdnsFrame.cpp
    network/discovery/MonitoredRecords.cpp
    network/discovery/NetworkRecord.cpp
    network/discovery/ProgramBackend.cpp
    network/discovery/ServicePublication.cpp
)
# The library looks for the program there (see ProgramBackend.cpp).
add_subdirectory(mdns)
add_dependencies(velmora-platform velmora-mdns)
