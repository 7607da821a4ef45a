#include "server/ClientList.h"

#include <utility>

#include "server/ClientConnection.h"

namespace velmora {

void ClientList::add(ClientConnection* client, std::string name) {
    MutexLock lock(mutex_);
    clients_.emplace(client, std::move(name));
}

bool ClientList::remove(ClientConnection* client) {
    MutexLock lock(mutex_);
    return clients_.erase(client) == 1;
}

std::size_t ClientList::drop(bool withReset) {
    // A copy, because each one that is dropped removes itself. None of them goes away meanwhile: this thread is theirs.
    std::map<ClientConnection*, std::string> dropped;
    {
        MutexLock lock(mutex_);
        dropped = clients_;
    }
    for (const auto& [client, name] : dropped) {
        client->drop(withReset);
    }
    return dropped.size();
}

std::vector<std::string> ClientList::names() const {
    MutexLock lock(mutex_);
    std::vector<std::string> names;
    for (const auto& [client, name] : clients_) {
        names.push_back(name);
    }
    return names;
}

std::size_t ClientList::size() const {
    MutexLock lock(mutex_);
    return clients_.size();
}

}  // namespace velmora
