// Resolves one service with the discovery library alone, on the loopback interface: SERVICE-NAME. Prints "ready" once
// it browses, then the time of the resolution in nanoseconds of the monotonic clock. Gives up after a minute.
#include <avahi-common/simple-watch.h>
#include <avahi-core/core.h>
#include <avahi-core/log.h>
#include <avahi-core/lookup.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>

namespace {

constexpr unsigned kSecondsAtMost = 60;

struct Search {
    const char* name;
    AvahiServer* server = nullptr;
    AvahiSimplePoll* poll = nullptr;
    bool resolved = false;
};

void resolved(AvahiSServiceResolver*, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent event, const char*, const char*,
              const char*, const char*, const AvahiAddress*, std::uint16_t, AvahiStringList*, AvahiLookupResultFlags,
              void* given) {
    auto* const search = static_cast<Search*>(given);
    if (event != AVAHI_RESOLVER_FOUND || search->resolved) return;
    search->resolved = true;
    std::printf("%lld\n", static_cast<long long>(std::chrono::steady_clock::now().time_since_epoch().count()));
    avahi_simple_poll_quit(search->poll);
}

void browsed(AvahiSServiceBrowser*, AvahiIfIndex interface, AvahiProtocol protocol, AvahiBrowserEvent event,
             const char* name, const char* type, const char* domain, AvahiLookupResultFlags, void* given) {
    auto* const search = static_cast<Search*>(given);
    if (event != AVAHI_BROWSER_NEW || std::strcmp(name, search->name) != 0) return;
    avahi_s_service_resolver_new(search->server, interface, protocol, name, type, domain, AVAHI_PROTO_UNSPEC,
                                 AVAHI_LOOKUP_NO_TXT, resolved, search);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    alarm(kSecondsAtMost);
    Search search{argv[1]};
    avahi_set_log_function([](AvahiLogLevel, const char*) {});
    AvahiServerConfig config;
    avahi_server_config_init(&config);
    config.allow_interfaces = avahi_string_list_add(config.allow_interfaces, "lo");
    config.disable_publishing = 1;
    config.enable_wide_area = 0;
    search.poll = avahi_simple_poll_new();
    search.server = avahi_server_new(avahi_simple_poll_get(search.poll), &config, nullptr, nullptr, nullptr);
    avahi_server_config_free(&config);
    if (search.server == nullptr) return 1;
    avahi_s_service_browser_new(search.server, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, "_matrixswitcher._tcp", nullptr,
                                AVAHI_LOOKUP_USE_MULTICAST, browsed, &search);
    std::puts("ready");
    std::fflush(stdout);
    avahi_simple_poll_loop(search.poll);
    avahi_server_free(search.server);
    avahi_simple_poll_free(search.poll);
    return search.resolved ? 0 : 1;
}
