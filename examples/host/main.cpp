// A small host: loads a bundle, starts its plugin with saved settings, sets an attribute if asked to, and lists all.
//
// Usage: example-host BUNDLE [SETTINGS [NAME VALUE]]
#include <velmora/NSBundle.h>
#include <velmora/PropertyListXML.h>
#include <velmora/VelmoraNodePluginProtocol.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <iostream>

using namespace velmora;

// Inside the notice the plugin waits, so no more is done here than to wake up whoever waits for attributes.
struct Notice : VelmoraNodePluginProtocol_Delegate {
    void attributesChangedForPluginName(const std::string&) override { wait.quit(); }
    QEventLoop wait;
};

static Result<void> use(VelmoraNodePluginProtocol& plugin, Notice& notice, const std::string& name,
                        const std::string& value) {
    if (plugin.startAndSetCurrentValuesToDefaults(false) != 0) return Failure{"the plugin does not start"};
    // A plugin that has to find its device first has attributes later, and takes values later still.
    const auto isDone = [&] {
        if (plugin.attributeNames()->empty()) return false;
        return name.empty() || plugin.setValueForAttributeWithName(value, name) == 0;
    };
    QTimer::singleShot(std::chrono::seconds(10), &notice.wait, [&notice] { notice.wait.exit(1); });
    while (!isDone()) {
        if (notice.wait.exec() != 0) return Failure{"no attributes, or the value is refused; the log says why"};
    }
    for (const std::string& attribute : *plugin.attributeNames()) {
        std::cout << attribute << " = " << plugin.currentValueOfAttributeWithName(attribute) << '\n';
    }
    return {};
}

static Result<void> run(NSBundle& bundle, const DictionaryReference& settings, const std::string& name,
                        const std::string& value) {
    if (const auto loaded = bundle.load(kVelmoraNodePluginProtocolVersion); !loaded) return loaded;
    const auto object = bundle.makePrincipalObject();
    if (!object) return object.failure();
    const auto plugin = std::dynamic_pointer_cast<VelmoraNodePluginProtocol>(*object);
    if (plugin == nullptr) return Failure{"the bundle's object is no node plugin"};
    Notice notice;
    plugin->setDelegate(&notice);
    plugin->setDefaultSettings(settings);
    const Result<void> outcome = use(*plugin, notice, name, value);
    plugin->stop();
    plugin->setDelegate(nullptr);
    return outcome;
}

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const auto argument = [&](int index) { return index < argc ? argv[index] : ""; };
    const auto settings = argc > 2 ? propertyListWithContentsOfFile(argument(2)) : PropertyList(makeDictionary());
    const auto bundle = NSBundle::bundleWithPath(argument(1));
    Result<void> outcome = !settings ? settings.failure() : !bundle ? Result<void>(bundle.failure()) : Result<void>();
    if (outcome) outcome = run(**bundle, settings->dictionary(), argument(3), argument(4));
    if (outcome) outcome = (*bundle)->unload();  // nobody holds the plugin any more
    if (!outcome) std::cerr << "example-host: " << outcome.failure().reason << '\n';
    return outcome ? 0 : 1;
}
