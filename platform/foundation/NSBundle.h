// A bundle: the folder NAME.bundle/Contents/ with Info.plist, Resources/ and the module that holds its code.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/NSObject.h"
#include "platform/foundation/PropertyList.h"
#include "platform/foundation/Result.h"

namespace velmora {

class NSBundle;

// A module exports this as its one C symbol "VelmoraBundleEntry": data, so that the version is read before any code is
// called.
extern "C" struct VelmoraBundleEntryRecord {
    // The version of the protocol between host and plugin that the module was built against.
    std::uint32_t protocolVersion;
    // The name of the principal class; the information dictionary's "NSPrincipalClass" must agree with it.
    const char* principalClass;
    // Makes the principal object for the bundle; the caller owns it. Null when it cannot be made. Never throws.
    NSObject* (*makePrincipalObject)(const std::shared_ptr<NSBundle>& bundle);
};

// Main thread only. Made with bundleWithPath; an object that its module made keeps the bundle as long as it wants to.
class NSBundle : public NSObject {
  public:
    // The bundle in that folder, never null; a failure when it has no readable information dictionary.
    static Result<std::shared_ptr<NSBundle>> bundleWithPath(const std::filesystem::path& folder);

    ~NSBundle() override;

    const std::filesystem::path& bundlePath() const { return path_; }
    const DictionaryReference& infoDictionary() const { return infoDictionary_; }
    // The text under a key of the information dictionary; none when it is missing or no text.
    std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const;
    // The file NAME.TYPE in Resources/; none when there is no such file or the name is not a plain file name.
    std::optional<std::filesystem::path> pathForResource(std::string_view name, std::string_view type) const;

    // Loads the module named by "CFBundleExecutable", a file in Contents/. A failure when it is missing, not a module
    // of this kind, or built against another version of the protocol; nothing of it has been called then but its
    // static constructors. Loading twice is harmless.
    Result<void> load(std::uint32_t protocolVersion);
    bool isLoaded() const { return entry_ != nullptr; }

    // A new object of the principal class, never null; a failure when the module is not loaded or makes none.
    Result<std::shared_ptr<NSObject>> makePrincipalObject();

    // Ends what the module has begun; no more objects can be made until load is called again. A failure while an object
    // that it made is alive, and while a modal panel is open: the code that waits for its end may be the module's.
    // Threads of NSThread that are winding down are ended first; then the event loop is served until the work that
    // waits for the main thread has been run. It is a failure, too, when that takes more than a few seconds.
    //
    // The module's code and static data stay in memory until the process ends: Qt may hold a timer, a type or a value
    // that the module has left behind, and run its code later. So a module that is loaded again is the same one.
    Result<void> unload();

  private:
    NSBundle(std::filesystem::path path, DictionaryReference infoDictionary);
    // Why unload fails.
    Failure refusal(const std::string& reason) const;

    std::filesystem::path path_;
    DictionaryReference infoDictionary_;
    void* module_ = nullptr;
    const VelmoraBundleEntryRecord* entry_ = nullptr;
    // Principal objects alive. Counted apart from the bundle, which may go before them.
    std::shared_ptr<std::atomic<int>> livePrincipalObjects_;
};

}  // namespace velmora

// For the module to define. A project that hides its symbols must not hide this one.
extern "C" __attribute__((visibility("default"))) const velmora::VelmoraBundleEntryRecord VelmoraBundleEntry;
