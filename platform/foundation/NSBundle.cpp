#include "platform/foundation/NSBundle.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <system_error>

#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"
#include "platform/threads/MainThread.h"
#include "platform/threads/NSThread.h"

namespace velmora {

namespace {

constexpr const char* kEntrySymbol = "VelmoraBundleEntry";
// How long unload waits for threads to end, and for work to be run that they handed to the main thread.
constexpr double kWindDownSeconds = 5.0;

bool fail(std::string* error, const std::string& reason) {
    if (error != nullptr) *error = reason;
    return false;
}

// A name that leads nowhere else than to an entry of the folder itself.
bool isPlainFileName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

bool isFile(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored);
}

std::string loaderReason() {
    const char* reason = dlerror();  // NOLINT(concurrency-mt-unsafe): glibc keeps one for each thread
    return reason != nullptr ? reason : "unknown reason";
}

// The exported record, or null when there is none or the symbol is no data. Looking it up calls nothing of the module.
const VelmoraBundleEntryRecord* entryOfModule(void* module) {
    void* const symbol = dlsym(module, kEntrySymbol);
    if (symbol == nullptr) return nullptr;
    Dl_info information{};
    void* extra = nullptr;
    if (dladdr1(symbol, &information, &extra, RTLD_DL_SYMENT) == 0 || extra == nullptr) return nullptr;
    const auto* description = static_cast<const ElfW(Sym)*>(extra);
    // The version comes first in the record of any version; what follows is read only when the version is right.
    const bool isData =
        ELF64_ST_TYPE(description->st_info) == STT_OBJECT && description->st_size >= sizeof(std::uint32_t);
    return isData ? static_cast<const VelmoraBundleEntryRecord*>(symbol) : nullptr;
}

// Why the module cannot be used with this version and principal class; none when it can.
std::optional<std::string> objectionToEntry(const VelmoraBundleEntryRecord* entry, std::uint32_t protocolVersion,
                                            const std::optional<std::string>& principalClass) {
    if (entry == nullptr) return stringWithFormat("it does not export \"%@\"", kEntrySymbol);
    if (entry->protocolVersion != protocolVersion) {
        return stringWithFormat(
            "it was built for version %li of the host protocol, this host has version %li; install the plugin that "
            "belongs to the host",
            entry->protocolVersion, protocolVersion);
    }
    if (entry->principalClass == nullptr || entry->makePrincipalObject == nullptr) {
        return stringWithFormat("its \"%@\" is incomplete", kEntrySymbol);
    }
    if (principalClass != entry->principalClass) {
        return stringWithFormat("its principal class is %@, but Info.plist names %@ under \"NSPrincipalClass\"",
                                entry->principalClass, principalClass);
    }
    return std::nullopt;
}

// Runs what has been handed to the main thread so far: it may be code of the module. False when it was not all run in
// time.
bool runHandedOverWork() {
    if (QCoreApplication::instance() == nullptr) return true;
    const auto reached = std::make_shared<bool>(false);
    MainThread::performLater([reached] { *reached = true; });
    QElapsedTimer elapsed;
    elapsed.start();
    // Wakes the loop should nothing else happen.
    QTimer lookAgain;
    lookAgain.start(50);
    while (!*reached && static_cast<double>(elapsed.elapsed()) < kWindDownSeconds * 1000.0) {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents | QEventLoop::WaitForMoreEvents);
    }
    return *reached;
}

}  // namespace

NSBundle::NSBundle(std::filesystem::path path, DictionaryReference infoDictionary)
    : path_(std::move(path)),
      infoDictionary_(std::move(infoDictionary)),
      livePrincipalObjects_(std::make_shared<std::atomic<int>>(0)) {}

NSBundle::~NSBundle() = default;

std::shared_ptr<NSBundle> NSBundle::bundleWithPath(const std::filesystem::path& folder, std::string* error) {
    // What is looked up later does not depend on the working directory of that moment.
    std::error_code unresolved;
    const std::filesystem::path path = std::filesystem::canonical(folder, unresolved);
    if (unresolved) {
        fail(error, stringWithFormat("there is no bundle at %@: %@", folder.string(), unresolved.message()));
        return nullptr;
    }
    const auto information = propertyListWithContentsOfFile(path / "Contents" / "Info.plist", error);
    if (!information) return nullptr;
    DictionaryReference dictionary = information->dictionary();
    if (!dictionary) {
        fail(error, stringWithFormat("%@ is no dictionary", (path / "Contents" / "Info.plist").string()));
        return nullptr;
    }
    return std::shared_ptr<NSBundle>(new NSBundle(path, std::move(dictionary)));
}

std::optional<std::string> NSBundle::objectForInfoDictionaryKey(std::string_view key) const {
    return textForKey(infoDictionary_, key);
}

std::optional<std::filesystem::path> NSBundle::pathForResource(std::string_view name, std::string_view type) const {
    const std::string fileName = type.empty() ? std::string(name) : stringWithFormat("%@.%@", name, type);
    if (!isPlainFileName(fileName)) return std::nullopt;
    std::filesystem::path path = path_ / "Contents" / "Resources" / fileName;
    if (!isFile(path)) return std::nullopt;
    return path;
}

bool NSBundle::load(std::uint32_t protocolVersion, std::string* error) {
    const auto executable = objectForInfoDictionaryKey("CFBundleExecutable");
    if (!executable || !isPlainFileName(*executable)) {
        return fail(
            error,
            stringWithFormat(
                "%@ names no module: \"CFBundleExecutable\" in its Info.plist must be a file name without a path",
                path_.string()));
    }
    const std::filesystem::path file = path_ / "Contents" / *executable;
    const std::string refused = stringWithFormat("%@ cannot be loaded: ", file.string());
    // The loader would open anything, and wait for a pipe.
    if (!isFile(file)) return fail(error, refused + "there is no such file");
    const auto principalClass = objectForInfoDictionaryKey("NSPrincipalClass");
    if (isLoaded()) {
        const auto objection = objectionToEntry(entry_, protocolVersion, principalClass);
        return !objection || fail(error, refused + *objection);
    }

    void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) return fail(error, refused + loaderReason());
    const VelmoraBundleEntryRecord* const entry = entryOfModule(module);
    if (const auto objection = objectionToEntry(entry, protocolVersion, principalClass)) {
        dlclose(module);
        return fail(error, refused + *objection);
    }
    module_ = module;
    entry_ = entry;
    return true;
}

std::shared_ptr<NSObject> NSBundle::makePrincipalObject(std::string* error) {
    if (!isLoaded()) {
        fail(error, stringWithFormat("%@ is not loaded", path_.string()));
        return nullptr;
    }
    NSObject* const object = entry_->makePrincipalObject(std::static_pointer_cast<NSBundle>(shared_from_this()));
    if (object == nullptr) {
        fail(error,
             stringWithFormat("%@ made no object of its principal class %@", path_.string(), entry_->principalClass));
        return nullptr;
    }
    ++*livePrincipalObjects_;
    // Counted down when the last of the module's code that belongs to the object has run.
    return std::shared_ptr<NSObject>(object, [count = livePrincipalObjects_](NSObject* gone) {
        delete gone;
        --*count;
    });
}

bool NSBundle::unload(std::string* error) {
    if (!isLoaded()) return true;
    const std::string refused = stringWithFormat("%@ stays loaded: ", path_.string());
    const auto inUse = [&] { return livePrincipalObjects_->load() > 0; };
    if (MainThread::currentMode() != NSDefaultRunLoopMode) {
        return fail(error, refused + "a panel, which may be the module's, is open");
    }
    if (inUse()) return fail(error, refused + "an object that it made is alive");
    if (!NSThread::finishCancelledThreads(kWindDownSeconds)) {
        return fail(error, refused + "one of its threads has not ended");
    }
    if (!runHandedOverWork()) return fail(error, refused + "work for the main thread has not been run");
    // That work may have been the host's, too.
    if (inUse()) return fail(error, refused + "an object that it made is alive");
    if (!isLoaded()) return true;
    entry_ = nullptr;
    if (dlclose(std::exchange(module_, nullptr)) != 0) return fail(error, refused + loaderReason());
    return true;
}

}  // namespace velmora
