// The module of the test bundles. One macro says in which state it is.
#include "platform/foundation/NSBundle.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/threads/MainThread.h"
#include "platform/threads/NSThread.h"

using namespace velmora;

namespace {

// Leaves behind what a plugin may leave behind: a thread that winds down, and work for the main thread.
class TestPrincipal : public NSObject {
  public:
    TestPrincipal() {
        thread_ = std::make_shared<NSThread>([] {
            while (!NSThread::currentThreadIsCancelled()) {
                NSRunLoop::currentRunLoop()->runModeUntilDate(
                    NSDefaultRunLoopMode, std::chrono::steady_clock::now() + std::chrono::seconds(30));
            }
            MainThread::performLater([] {
                NSNotificationCenter::defaultCenter().postNotificationNameObjectUserInfo("TestModuleThreadEnded",
                                                                                         nullptr, nullptr);
            });
        });
        if (!thread_->start()) std::abort();
    }
    ~TestPrincipal() override { thread_->cancel(); }

  private:
    std::shared_ptr<NSThread> thread_;
};

[[maybe_unused]] NSObject* makePrincipalObject(const std::shared_ptr<NSBundle>& bundle) {
    return bundle->objectForInfoDictionaryKey("MakesNone") ? nullptr : new TestPrincipal;
}

}  // namespace

#if defined(TEST_MODULE_CODE_AS_ENTRY)
extern "C" __attribute__((visibility("default"))) int VelmoraBundleEntry() {
    return 1;
}
#elif !defined(TEST_MODULE_WITHOUT_ENTRY)
extern "C" __attribute__((visibility("default"))) const VelmoraBundleEntryRecord VelmoraBundleEntry = {
#if defined(TEST_MODULE_OTHER_VERSION)
    .protocolVersion = 2,
#else
    .protocolVersion = 1,
#endif
    .principalClass = "TestPrincipal",
#if defined(TEST_MODULE_INCOMPLETE)
    .makePrincipalObject = nullptr,
#else
    .makePrincipalObject = makePrincipalObject,
#endif
};
#endif
