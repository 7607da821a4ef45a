// Of a plugin's attributes.
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <charconv>
#include <set>
#include <thread>

#include "host/Values.h"
#include "platform/foundation/Text.h"
#include "plugincheck/Check.h"

namespace velmora {

namespace {

std::string attribute(const std::string& name) {
    return "the attribute " + quotedText(name);
}

bool isNumber(const std::string& text) {
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end;
}

// Names that no plugin has.
std::vector<std::string> unknownNames() {
    return {kUnknownName, "", "\n\t\x1b[2J", "\xff\xfe not UTF-8", std::string(1 << 20, 'x'), std::string("\0nul", 4)};
}

void requireValueOfType(const std::string& name, const std::string& value, const std::string& type) {
    if (type != "Double" || value.empty()) return;
    require(isNumber(value),
            stringWithFormat("%@ is a \"Double\", but has the value %@", attribute(name), quotedText(value)));
}

// Those whose value the device has told, with the value.
std::vector<std::pair<std::string, std::string>> answeredValues(Trial& trial) {
    auto names = trial.startAndWaitForNames();
    names.resize(std::min(names.size(), kMaximumValuesRead));
    std::vector<std::pair<std::string, std::string>> values;
    for (const std::string& name : names) {
        const std::string value = trial.currentValue(name);
        if (!value.empty() && trial.isAnswered()) values.emplace_back(name, value);
    }
    if (values.empty()) notApplicable("the device has told no value");
    return values;
}

// Whatever comes of it: another thread may be in the middle of a rebuild. At most one begins once it is over.
void lookUp(const VelmoraNodePluginProtocol& plugin, const std::atomic<bool>& isOver) {
    using Plugin = VelmoraNodePluginProtocol;
    const StringList names = plugin.attributeNames();
    require(names != nullptr, "attributeNames gave null on another thread");
    std::vector<std::string> some(names->begin(), names->begin() + std::min<std::ptrdiff_t>(std::ssize(*names), 3));
    some.emplace_back(kUnknownName);
    for (const std::string& name : some) {
        for (const auto textOf : {&Plugin::displayNameOfAttributeWithName, &Plugin::typeOfAttributeWithName,
                                  &Plugin::defaultValueOfAttributeWithName, &Plugin::directionOfAttributeWithName}) {
            if (isOver) return;
            (plugin.*textOf)(name);
        }
        if (isOver) return;
        plugin.possibleValuesOfAttributeWithName(name);
    }
}

}  // namespace

void checkUnknownNames(Trial& trial) {
    trial.startOrEnd();
    for (const std::string& name : unknownNames()) {
        require(trial.record(name).isUnknown(), "a look-up knows " + attribute(name) + ", which does not exist");
        require(trial.currentValue(name).empty(), "there is a value of " + attribute(name) + ", which does not exist");
        require(trial.setValue("no such value", name) != 0, attribute(name) + ", which does not exist, took a value");
    }
}

void checkAttributeNames(Trial& trial) {
    std::set<std::string> seen;
    for (const std::string& name : trial.startAndWaitForNames()) {
        require(!name.empty(), "an attribute has an empty name");
        require(seen.insert(name).second, "two attributes have the name " + quotedText(name));
    }
}

void checkAttributeRecords(Trial& trial) {
    for (const std::string& name : trial.startAndWaitForNames()) {
        const auto record = trial.record(name);
        require(record.displayName.has_value(), attribute(name) + " has no display name");
        require(!record.type.value_or("").empty(), attribute(name) + " has no type");
        require(record.direction.has_value(), attribute(name) + " has no direction");
        requireValueOfType(name, record.defaultValue.value_or(""), *record.type);
        // There may be none as long as the device is not known.
        require(*record.type != "MultipleValues" || record.possibleValues != nullptr,
                attribute(name) + " has the type \"MultipleValues\" and null for its possible values");
    }
}

void checkAttributeValues(Trial& trial) {
    for (const auto& [name, value] : answeredValues(trial)) {
        const auto record = trial.record(name);
        requireValueOfType(name, value, record.type.value_or(""));
        const Values possible(record.possibleValues);
        require(possible.texts().empty() || possible.indexOf(value),
                stringWithFormat("%@ has the value %@, which is none of its possible values", attribute(name),
                                 quotedText(value)));
    }
}

void checkSetValues(Trial& trial) {
    if (!trial.options().set) notApplicable("values are set with --set only");
    for (const auto& [name, value] : answeredValues(trial)) {
        require(trial.setValue(value, name) == 0, attribute(name) + " refuses the value that it has");
        const std::string now = trial.currentValue(name);
        if (!trial.isAnswered()) continue;
        require(Values(trial.record(name).possibleValues).areSame(value, now),
                stringWithFormat("%@ was set to %@ and has %@", attribute(name), quotedText(value), quotedText(now)));
    }
}

void checkLookUpThreads(Trial& trial) {
    std::atomic<bool> isOver = false;
    std::atomic<int> running = 2;
    const auto look = [&, &plugin = trial.plugin()] {
        failingWhereItThrows("a look-up on another thread", [&] {
            while (!isOver) {
                lookUp(plugin, isOver);
            }
        });
        --running;
    };
    std::thread first(look), second(look);
    for (int i = 0; i < 5; ++i) {
        trial.start();
        trial.setGivenSettings();
        trial.serveShortly();
        trial.stop();
    }
    isOver = true;
    // A look-up may wait for the main thread.
    trial.serveUntil([&] { return running == 0; }, kLookUpTime);
    require(running == 0, "a look-up on another thread does not return");
    first.join();
    second.join();
}

}  // namespace velmora
