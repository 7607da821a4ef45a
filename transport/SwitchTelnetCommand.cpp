#include "transport/SwitchTelnetCommand.h"

#include <utility>

namespace velmora {

SwitchTelnetCommand::SwitchTelnetCommand() : responseData_(std::make_shared<std::string>()) {}

std::string SwitchTelnetCommand::uniqueID() const {
    MutexLock lock(mutex_);
    return uniqueID_;
}

void SwitchTelnetCommand::setUniqueID(std::string uniqueID) {
    MutexLock lock(mutex_);
    uniqueID_ = std::move(uniqueID);
}

std::string SwitchTelnetCommand::command() const {
    MutexLock lock(mutex_);
    return command_;
}

void SwitchTelnetCommand::setCommand(std::string command) {
    MutexLock lock(mutex_);
    command_ = std::move(command);
}

std::optional<std::string> SwitchTelnetCommand::responseString() const {
    MutexLock lock(mutex_);
    return responseString_;
}

void SwitchTelnetCommand::setResponseString(std::optional<std::string> responseString) {
    MutexLock lock(mutex_);
    responseString_ = std::move(responseString);
}

std::string SwitchTelnetCommand::responseSelector() const {
    MutexLock lock(mutex_);
    return responseSelector_;
}

void SwitchTelnetCommand::setResponseSelector(std::string responseSelector) {
    MutexLock lock(mutex_);
    responseSelector_ = std::move(responseSelector);
}

ResponseData SwitchTelnetCommand::responseData() const {
    MutexLock lock(mutex_);
    return responseData_;
}

void SwitchTelnetCommand::setResponseData(ResponseData responseData) {
    MutexLock lock(mutex_);
    responseData_ = std::move(responseData);
}

}  // namespace velmora
