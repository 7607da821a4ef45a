#include <memory>

#include "bench/Contender.h"
#include "bench/PluginSession.h"
#include "bench/Rows.h"
#include "bench/SwitchServerProcess.h"
#include "bench/Wrong.h"
#include "platform/foundation/NSBundle.h"

namespace velmora::bench {

namespace {

// One plugin from the bundle, step by step; each step needs the previous one.
class Life {
  public:
    void load() {
        bundle_ = checked(NSBundle::bundleWithPath(programBeside(VELMORA_BUNDLE_FROM_PROGRAMS)));
        check(bundle_->load(kVelmoraNodePluginProtocolVersion));
    }
    void create() {
        plugin_ = std::dynamic_pointer_cast<VelmoraNodePluginProtocol>(checked(bundle_->makePrincipalObject()));
        if (plugin_ == nullptr) throw Wrong("the bundle holds no node plugin");
        plugin_->setDefaultSettings(settingsFor("Nobody", 8));
    }
    void start() {
        if (plugin_->startAndSetCurrentValuesToDefaults(false) != 0) throw Wrong("the plugin does not start");
    }
    void stop() {
        plugin_->stop();
        plugin_ = nullptr;
    }
    void unload() {
        check(bundle_->unload());
        bundle_ = nullptr;
    }

  private:
    template <typename Value>
    static void check(const Result<Value>& result) {
        if (!result) throw Wrong("the bundle's life went wrong: " + result.failure().reason);
    }
    template <typename Value>
    static Value checked(const Result<Value>& result) {
        check(result);
        return *result;
    }

    std::shared_ptr<NSBundle> bundle_;
    std::shared_ptr<VelmoraNodePluginProtocol> plugin_;
};

}  // namespace

void measureLife(Suite& suite) {
    Life life;
    std::vector<Contender> steps;
    const auto step = [&](const char* name, void (Life::*operation)()) {
        steps.push_back({name, [&life, operation] {
                             const auto start = Clock::now();
                             (life.*operation)();
                             return microsecondsSince(start);
                         }});
    };
    step("loading the bundle", &Life::load);
    step("creating the plugin and handing it its settings", &Life::create);
    step("starting it", &Life::start);
    step("stopping and releasing it", &Life::stop);
    step("unloading the bundle", &Life::unload);
    takeTurns(steps, suite.rounds(), Turns::inOrder);
    for (const Contender& one : steps) {
        Row row{.group = "life", .name = one.name, .figure = one.medianFigure(), .unit = "us"};
        if (&one == &steps.front()) row.note = "Qt and the platform library are there already, as they are in a host";
        suite.report.add(std::move(row));
    }
}

}  // namespace velmora::bench
