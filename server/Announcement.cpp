#include "server/Announcement.h"

#include <utility>

namespace velmora {

Announcement::Announcement(const std::string& name, std::uint16_t port, Announced announced, NotAnnounced notAnnounced)
    : announced_(std::move(announced)),
      notAnnounced_(std::move(notAnnounced)),
      service_(std::make_shared<NSNetService>("", "_matrixswitcher._tcp.", name, port)) {
    service_->setDelegate(this);
    service_->publish();
}

Announcement::~Announcement() {
    service_->setDelegate(nullptr);
    service_->stop();
}

void Announcement::netServiceDidPublish(NSNetService& service) {
    announced_(service.name());
}

void Announcement::netServiceDidNotPublish(NSNetService&, const std::string& reason) {
    notAnnounced_(reason);
}

}  // namespace velmora
