// Of a plugin's settings.
#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"
#include "plugincheck/Check.h"
#include "plugincheck/HostileSettings.h"

namespace velmora {

namespace {

// The settings as a host would keep them in a file.
std::string document(const DictionaryReference& settings, const std::string& when) {
    const auto xml = XMLWithPropertyList(settings);
    if (!xml) fail(stringWithFormat("the settings %@ cannot be kept in a file: %@", when, xml.failure().reason));
    return *xml;
}

// The first key whose value is not the same in both.
std::optional<std::string> difference(const PropertyListDictionary& before, const PropertyListDictionary& after) {
    for (const auto& [key, value] : before) {
        const auto found = after.find(key);
        if (found == after.end() || !(found->second == value)) return key;
    }
    for (const auto& [key, value] : after) {
        if (!before.contains(key)) return key;
    }
    return std::nullopt;
}

void requireSame(const DictionaryReference& before, const DictionaryReference& after, const std::string& otherwise) {
    const auto key = difference(*before, *after);
    if (key) fail(stringWithFormat("%@ differ under the key %@", otherwise, quotedText(*key)));
}

// Own lists may be handed out and change, so that settings are compared with a copy.
DictionaryReference copyOf(const DictionaryReference& settings) {
    const auto copy = propertyListWithXML(document(settings, "that the plugin gives"));
    if (!copy) fail("the settings that the plugin gives cannot be read from a file: " + copy.failure().reason);
    return copy->dictionary();
}

void setHostile(Trial& trial, const DictionaryReference& settings) {
    trial.setSettings(settings);
    document(trial.settings(), "that became of hostile ones");
}

}  // namespace

void checkNoSettings(Trial& trial) {
    for (const bool isStarted : {false, true}) {
        if (isStarted) trial.start();
        trial.setSettings(makeDictionary());
        const auto ofEmpty = copyOf(trial.settings());
        trial.setSettings(nullptr);
        // Of a plugin that is started, some change by themselves.
        if (!isStarted) requireSame(ofEmpty, trial.settings(), "the settings after null and after empty ones");
        trial.useEverything();
        trial.serveShortly();
    }
}

void checkSettingsReturned(Trial& trial) {
    const auto given = copyOf(trial.settings());
    if (given->empty()) notApplicable("the plugin has no settings");
    trial.setSettings(trial.settings());
    requireSame(given, trial.settings(), "the settings that the plugin gave, and those after it got them again,");
    trial.setSettings(given);
    requireSame(given, trial.settings(), "the settings that the plugin gave, and those after it got them from a file,");
    trial.makePlugin();
    trial.setSettings(given);
    requireSame(given, trial.settings(), "the settings of one plugin, and those of another that got them,");
}

void checkSettingsAreNew(Trial& trial) {
    for (const bool isStarted : {false, true}) {
        if (isStarted) trial.start();
        const auto first = trial.settings();
        const auto second = trial.settings();
        require(first != second, "defaultSettings gave the same dictionary twice instead of a new one");
        first->clear();
        first->emplace("of the host", true);
        require(!trial.settings()->contains("of the host"),
                "what the host does to the dictionary from defaultSettings shows in the next one");
    }
}

void checkHostileSettings(Trial& trial) {
    const auto usual = copyOf(trial.settings());
    for (const PropertyList& value : hostileValues()) {
        for (const auto& settings : withValueInEachPlace(usual, value)) {
            setHostile(trial, settings);
        }
        trial.useEverything();
    }
    trial.setSettings(usual);
    trial.useEverything();
}

// All places at once, so that a device is not connected to each time.
void checkHostileSettingsWhileStarted(Trial& trial) {
    const auto usual = copyOf(trial.settings());
    trial.startOrEnd();
    for (const PropertyList& value : hostileValues()) {
        setHostile(trial, withValueEverywhere(usual, value));
        trial.useEverything();
        trial.serveUntil([] { return false; }, std::chrono::milliseconds(20));
    }
    trial.setSettings(usual);
    trial.useEverything();
    trial.serveShortly();
}

}  // namespace velmora
