#include "transport/NSNotificationCenterAdditions.h"

#include <utility>

#include "platform/threads/MainThread.h"

namespace velmora {

namespace {

void runOnMainThread(MainThread::Work work, bool waitUntilDone) {
    if (!waitUntilDone) return MainThread::perform(std::move(work));
    MainThread::performAndWait(std::move(work));  // without an application object there is nobody left to tell
}

}  // namespace

void NSNotificationCenterAdditions::postNotificationOnMainThread(NSNotificationCenter& center,
                                                                 const NSNotification& notification) {
    postNotificationOnMainThreadWaitUntilDone(center, notification, false);
}

void NSNotificationCenterAdditions::postNotificationOnMainThreadWaitUntilDone(NSNotificationCenter& center,
                                                                              const NSNotification& notification,
                                                                              bool waitUntilDone) {
    if (MainThread::isCurrent()) {
        center.postNotification(notification);
        return;
    }
    runOnMainThread([notification] { _postNotification(notification); }, waitUntilDone);
}

void NSNotificationCenterAdditions::postNotificationOnMainThreadWithNameObject(NSNotificationCenter& center,
                                                                               const std::string& name,
                                                                               const void* object) {
    postNotificationOnMainThreadWithNameObjectUserInfo(center, name, object, nullptr);
}

void NSNotificationCenterAdditions::postNotificationOnMainThreadWithNameObjectUserInfo(
    NSNotificationCenter& center, const std::string& name, const void* object, const DictionaryReference& userInfo) {
    postNotificationOnMainThreadWithNameObjectUserInfoWaitUntilDone(center, name, object, userInfo, false);
}

void NSNotificationCenterAdditions::postNotificationOnMainThreadWithNameObjectUserInfoWaitUntilDone(
    NSNotificationCenter& center, const std::string& name, const void* object, const DictionaryReference& userInfo,
    bool waitUntilDone) {
    if (MainThread::isCurrent()) {
        center.postNotificationNameObjectUserInfo(name, object, userInfo);
        return;
    }
    runOnMainThread([arguments = Arguments{name, object, userInfo}] { _postNotificationName(arguments); },
                    waitUntilDone);
}

void NSNotificationCenterAdditions::_postNotification(const NSNotification& notification) {
    NSNotificationCenter::defaultCenter().postNotification(notification);
}

void NSNotificationCenterAdditions::_postNotificationName(const Arguments& arguments) {
    NSNotificationCenter::defaultCenter().postNotificationNameObjectUserInfo(arguments.name, arguments.object,
                                                                             arguments.userInfo);
}

}  // namespace velmora
