# DNS-SD, on one thread of its own, through the Avahi daemon or through velmora-mdns.
target_sources(velmora-platform PRIVATE
    network/NSNetService.cpp
    network/NSNetServiceBrowser.cpp
    network/dnssd/BackendKeeper.cpp
    network/dnssd/ChildProgram.cpp
    network/dnssd/DaemonBackend.cpp
    network/dnssd/DiscoveredService.cpp
    network/dnssd/DiscoveryEngine.cpp
    network/dnssd/DiscoveryLoop.cpp
    network/dnssd/DiscoveryThread.cpp
    network/dnssd/HostAddresses.cpp
    network/dnssd/MdnsFrame.cpp
    network/dnssd/MonitoredRecords.cpp
    network/dnssd/NetworkRecord.cpp
    network/dnssd/ProgramBackend.cpp
    network/dnssd/ServicePublication.cpp
    network/dnssd/UnannouncedServices.cpp
)
# The library looks for the program there (see ProgramBackend.cpp).
add_subdirectory(mdns)
add_dependencies(velmora-platform velmora-mdns)
