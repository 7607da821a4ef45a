// The module of the test bundles. Macros say in which state it is.
#include <QTimer>

#include "platform/foundation/NSBundle.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/threads/MainThread.h"
#include "platform/threads/NSLock.h"
#include "platform/threads/NSThread.h"

using namespace velmora;

namespace {

void tell(const char* what) {
    NSNotificationCenter::defaultCenter().postNotification({what, nullptr, nullptr});
}

// Leaves behind what a plugin may leave behind: a thread that winds down, and work for the main thread; and what it
// should not, a timer.
class TestPrincipal : public NSObject {
  public:
    TestPrincipal() {
        if (!thread_->start()) std::abort();
        QTimer::singleShot(500, [] { tell("TestModuleTimer"); });
    }
    ~TestPrincipal() override { thread_->cancel(); }

  private:
    static void run() {
        while (!NSThread::currentThreadIsCancelled()) {
            NSRunLoop::currentRunLoop()->runModeUntilDate(NSDefaultRunLoopMode, fromNow(Seconds(30.0)));
        }
        MainThread::performLater([] { tell("TestModuleThreadEnded"); });
    }

    const std::shared_ptr<NSThread> thread_ = std::make_shared<NSThread>(run);
};

// What runs when the module is loaded, whatever becomes of it.
[[maybe_unused]] const bool kHasBegun = [] {
    QTimer::singleShot(50, [] { tell("TestModuleStaticTimer"); });
    return true;
}();

[[maybe_unused]] NSObject* makePrincipalObject(const std::shared_ptr<NSBundle>&) {
    return new TestPrincipal;
}

}  // namespace

#if defined(TEST_MODULE_CODE_AS_ENTRY)
extern "C" __attribute__((visibility("default"))) int codeAsEntry() __asm__("VelmoraBundleEntry");
int codeAsEntry() {
    return 1;
}
#elif !defined(TEST_MODULE_WITHOUT_ENTRY)
const VelmoraBundleEntryRecord VelmoraBundleEntry = {
    .protocolVersion = TEST_MODULE_VERSION,
    .principalClass = "TestPrincipal",
    .makePrincipalObject = TEST_MODULE_MAKER,
};
#endif
