// The clients that a server has at this moment.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

class ClientConnection;

class ClientList {
  public:
    // Server's thread.
    void add(ClientConnection* client, std::string name) EXCLUDES(mutex_);
    // False when it is not there.
    bool remove(ClientConnection* client) EXCLUDES(mutex_);
    // Drops each of them, and returns how many.
    std::size_t drop(bool withReset) EXCLUDES(mutex_);

    // Any thread.
    std::vector<std::string> names() const EXCLUDES(mutex_);
    std::size_t size() const EXCLUDES(mutex_);

  private:
    mutable Mutex mutex_;
    std::map<ClientConnection*, std::string> clients_ GUARDED_BY(mutex_);  // not owned
};

}  // namespace velmora
