# DNS-SD, on one thread of its own, through the Avahi daemon or without it.
target_sources(velmora-platform PRIVATE
    network/NSNetService.cpp
    network/NSNetServiceBrowser.cpp
    network/discovery/BackendKeeper.cpp
    network/discovery/DaemonBackend.cpp
    network/discovery/DiscoveredService.cpp
    network/discovery/DiscoveryEngine.cpp
    network/discovery/DiscoveryLoop.cpp
    network/discovery/DiscoveryThread.cpp
    network/discovery/HostAddresses.cpp
    network/discovery/InProcessBackend.cpp
    network/discovery/MonitoredRecords.cpp
    network/discovery/NetworkRecord.cpp
    network/discovery/PacketScreen.cpp
    network/discovery/ServicePublication.cpp
)
