// A plugin for the checks: sound, with two attributes, settings, a view and a status, or with the one fault that the
// environment variable FAULT names.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <QApplication>
#include <QLabel>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <thread>

#include "platform/foundation/NSBundle.h"
#include "platform/threads/MainThread.h"
#include "plugin/VelmoraNodePluginProtocol.h"
#include "plugin/VelmoraNodePluginStatusProtocol.h"

namespace {

using namespace velmora;
using OptionalText = std::optional<std::string>;
using State = NodePluginConnectionState;

bool has(const char* fault) {
    return qEnvironmentVariable("FAULT") == fault;
}

int alive = 0;
char* volatile lost = nullptr;

// What a fault does to the process.
void crash() {
    std::raise(SIGSEGV);
}
void mustBeAlive() {
    if (alive == 0) crash();
}

class FaultyPlugin final : public NSObject, public VelmoraNodePluginProtocol, public VelmoraNodePluginStatusProtocol {
  public:
    FaultyPlugin() { ++alive; }
    ~FaultyPlugin() override {
        --alive;
        if (QWidget* const view = view_.release(); view != nullptr && !has("a view that stays")) view->deleteLater();
        if (has("a call after the release")) tellAttributes();
    }

    std::int32_t startAndSetCurrentValuesToDefaults(bool) override {
        if (has("an abort at the second start") && isStarted_) std::abort();
        if (has("an exit")) std::_Exit(0);
        if (has("greed")) {
            for (auto blocks = std::vector<std::unique_ptr<char[]>>();;) {
                blocks.push_back(std::make_unique_for_overwrite<char[]>(1 << 30));
            }
        }
        if (has("a lost descriptor")) ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (has("lost memory")) lost = new char[10'000];
        if (has("a lost process") && ::fork() == 0) ::execlp("sleep", "sleep", "60", nullptr);
        if (has("a lost thread")) std::thread(::pause).detach();
        if (has("a plugin that holds itself")) self_ = shared_from_this();
        isStarted_ = true;
        tellStatus();
        tellAttributes();  // may be the end of this object
        return 0;
    }
    void stop() override {
        if (has("a stop that hangs")) ::pause();
        if (has("another thread at the stop")) std::thread([this] { tellAttributes(); }).join();
        if (has("a crash at a stop too many") && !isStarted_) crash();
        isStarted_ = false;
    }
    void setDelegate(VelmoraNodePluginProtocol_Delegate* delegate) override {
        if (delegate != nullptr || !has("a delegate that is never cleared")) delegate_ = delegate;
    }
    VelmoraNodePluginProtocol_Delegate* delegate() const override { return delegate_; }

    void setDefaultSettings(const DictionaryReference& settings) override {
        if (has("no thought of null") && settings == nullptr) crash();
        const PropertyList* const level = valueForKey(settings, "level");
        if (has("trust in types") && level != nullptr) level->text().value();
        if (!has("settings that are forgotten")) level_ = textForKey(settings, "level").value_or("0.5");
        tellStatus();
        tellAttributes();  // may be the end of this object
    }
    DictionaryReference defaultSettings() override {
        const auto settings = has("settings of its own") ? own_ : makeDictionary();
        settings->insert_or_assign("level", has("settings that change") ? std::to_string(++count_) : level_);
        return has("null settings") ? nullptr : settings;
    }

    StringList attributeNames() const override {
        if (has("look-ups for one thread") && !MainThread::isCurrent()) crash();
        if (!isStarted_) return has("null names") ? nullptr : makeStringList();
        if (has("a name twice")) return makeStringList({"Level", "Level"});
        return makeStringList({"Level", "Relay"});
    }
    std::string pluginName() const override { return has("no name") ? "" : "Faulty \xE2\x82\xAC"; }
    OptionalText pluginVersionString() const override { return std::nullopt; }
    OptionalText displayNameOfAttributeWithName(const std::string& name) const override {
        return textOf(name, has("a text in Latin-1") ? "Schr\xE4nk" : "Display");
    }
    OptionalText typeOfAttributeWithName(const std::string& name) const override {
        return textOf(name, name == "Level" ? "Double" : "MultipleValues");
    }
    OptionalText defaultValueOfAttributeWithName(const std::string& name) const override {
        return textOf(name, name == "Level" ? "0" : "Off");
    }
    OptionalText directionOfAttributeWithName(const std::string& name) const override {
        return has("no direction") ? std::nullopt : textOf(name, "Output");
    }
    StringList possibleValuesOfAttributeWithName(const std::string& name) const override {
        return name == "Relay" ? makeStringList({"Off", "On"}) : nullptr;
    }
    std::string currentValueOfAttributeWithName(const std::string& name) override {
        if (!has("an outcome of another attribute")) lastName_ = name;
        if (has("an exception") && !isKnown(name)) throw std::out_of_range("no such attribute");
        if (name == "Level") return has("a word for a number") ? "loud" : level_;
        return isKnown(name) ? has("a value that is not possible") ? "Open" : relay_ : "";
    }
    std::int32_t setValueForAttributeWithName(const std::string& value, const std::string& name) override {
        lastName_ = name;
        if (!isKnown(name)) return has("another answer") ? 7 : -1;
        (name == "Level" ? level_ : relay_) = has("another value than was set") ? "On" : value;
        return 0;
    }
    QWidget* settingsView() override {
        const bool hasWindows = qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr;
        if (!hasWindows && !has("a view without windows")) return nullptr;
        if (view_ == nullptr || has("another view each time")) view_ = std::make_unique<QLabel>("Level");
        return view_.get();
    }

    std::uint32_t statusProtocolVersion() const override { return kVelmoraNodePluginStatusProtocolVersion; }
    NodePluginConnectionStatus connectionStatus() const override {
        return {has("a state that there is not") ? State(99) : State::connected, "", "", {}};
    }
    NodePluginOutcome lastOutcome() const override {
        if (lastName_.empty()) return {};
        return {isKnown(lastName_) ? NodePluginAnswer::answered : NodePluginAnswer::refused, lastName_, "", {}};
    }
    void setStatusObserver(VelmoraNodePluginStatusProtocol_Observer* observer) override { observer_ = observer; }

  private:
    bool isKnown(const std::string& name) const {
        return isStarted_ && (name == "Level" || name == "Relay" || has("every name known"));
    }
    OptionalText textOf(const std::string& name, const char* text) const {
        // Slow, but each look-up well within what a host allows.
        if (!MainThread::isCurrent()) ::poll(nullptr, 0, 500);
        return isKnown(name) ? OptionalText(text) : std::nullopt;
    }
    void tellAttributes() {
        if (delegate_ == nullptr) return;
        if (has("another thread")) {
            std::thread([this] { delegate_->attributesChangedForPluginName(pluginName()); }).join();
            return;
        }
        std::shared_ptr<NSObject> held;
        if (!has("use after the release")) held = weak_from_this().lock();
        delegate_->attributesChangedForPluginName(has("another plugin's name") ? "Other" : pluginName());
        mustBeAlive();
    }
    void tellStatus() {
        if (observer_ == nullptr) return;
        if (has("a notice inside an operation")) return observer_->statusChangedForPluginName(pluginName());
        MainThread::performLater([this, weak = weak_from_this()] {
            const auto held = weak.lock();
            if (held == nullptr || observer_ == nullptr || isTelling_) return;
            isTelling_ = !has("a notice inside itself");
            observer_->statusChangedForPluginName(pluginName());
            isTelling_ = false;
        });
    }

    std::atomic<bool> isStarted_ = false;  // looked at on every thread
    bool isTelling_ = false;
    int count_ = 0;
    std::string level_ = "0.5", relay_ = "Off", lastName_;
    DictionaryReference own_ = makeDictionary();
    VelmoraNodePluginProtocol_Delegate* delegate_ = nullptr;
    VelmoraNodePluginStatusProtocol_Observer* observer_ = nullptr;
    std::unique_ptr<QWidget> view_;
    std::shared_ptr<NSObject> self_;
};

NSObject* makePrincipalObject(const std::shared_ptr<NSBundle>&) {
    static FaultyPlugin* only = nullptr;
    if (has("one object for all")) return only = only != nullptr ? only : new FaultyPlugin;
    return new FaultyPlugin;
}

}  // namespace

const VelmoraBundleEntryRecord VelmoraBundleEntry = {kVelmoraNodePluginProtocolVersion, "FaultyPlugin",
                                                     makePrincipalObject};
