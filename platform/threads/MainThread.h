// The main thread: the thread that started the process, which runs Qt's event loop.
#pragma once

#include <functional>
#include <string_view>

namespace velmora {

inline constexpr const char* NSDefaultRunLoopMode = "NSDefaultRunLoopMode";
inline constexpr const char* NSEventTrackingRunLoopMode = "NSEventTrackingRunLoopMode";
inline constexpr const char* NSModalPanelRunLoopMode = "NSModalPanelRunLoopMode";

class MainThread {
  public:
    using Work = std::function<void()>;

    // Whether the calling thread is the main thread.
    static bool isCurrent();

    // Runs the work on the main thread: at once when already there, otherwise when its event loop next runs. Work is
    // run in the order in which it was queued, one piece each turn of the loop, nested loops included. Any thread.
    static void perform(Work work);
    // The same, and returns only when the work has been run. Returns false, with the work not run, when the application
    // object goes away before it was its turn, or when there is none.
    static bool performAndWait(Work work);
    // Always queued, also when already on the main thread. Here and with perform, work that comes between the end of
    // one application object and the start of another is destroyed unrun. Any thread.
    static void performLater(Work work);
    // Queued until the event loop has nothing else to do. Main thread only.
    static void performWhenIdle(Work work);

    // The mode that the main loop is in: the default mode, or that of the innermost ModeScope. Main thread only.
    static std::string_view currentMode();
    class ModeScope {
      public:
        explicit ModeScope(const char* mode);
        ModeScope(const ModeScope&) = delete;
        ModeScope& operator=(const ModeScope&) = delete;
        ~ModeScope();

      private:
        const char* outer_;
    };
    // Called on the main thread whenever the mode has changed, until the returned id is given to removeModeObserver.
    // Main thread only.
    static int addModeObserver(Work observer);
    static void removeModeObserver(int id);
};

}  // namespace velmora
