#include "host/workbench/Edits.h"

#include <algorithm>

#include "host/SettingsKeys.h"
#include "host/workbench/Words.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

QString labelGone(const ConfiguredOutputs& built, const ConfiguredOutputs& now) {
    for (const auto& [number, output] : now) {
        const auto same = [&label = output.label](const auto& entry) { return entry.second.label == label; };
        const auto old = std::find_if(built.begin(), built.end(), same);
        if (old == built.end() || old->first == number || now.contains(old->first)) continue;
        return Words::tr("%1 is output %2 in the settings, but its attribute still routes output %3")
            .arg(quotedName(output.label), QString::number(number + 1), QString::number(old->first + 1));
    }
    return {};
}

QString difference(std::int64_t number, const ConfiguredOutput* built, const ConfiguredOutput* now) {
    const QString output = QString::number(number + 1);
    if (now == nullptr) return Words::tr("output %1 is no longer in the settings, but still an attribute").arg(output);
    if (built == nullptr)
        return Words::tr("output %1 (%2) is in the settings, but no attribute yet").arg(output, quotedName(now->label));
    if (built->label != now->label) {
        return Words::tr("output %1 is called %2 in the settings, but its attribute still %3")
            .arg(output, quotedName(now->label), quotedName(built->label));
    }
    return Words::tr("%1 has the default input %2 in the settings, but its attribute still %3")
        .arg(quotedName(now->label), QString::number(now->defaultInput + 1), QString::number(built->defaultInput + 1));
}

const ConfiguredOutput* find(const ConfiguredOutputs& outputs, std::int64_t number) {
    const auto found = outputs.find(number);
    return found != outputs.end() ? &found->second : nullptr;
}

}  // namespace

ConfiguredOutputs configuredOutputsIn(const DictionaryReference& settings) {
    ConfiguredOutputs outputs;
    const ArrayReference list = listForKey(settings, kConfiguredOutputs);
    if (list == nullptr) return outputs;
    for (const PropertyList& one : *list) {
        const DictionaryReference entry = one.dictionary();
        outputs.insert_or_assign(
            intForKey(entry, kOutputNumber),
            ConfiguredOutput{textForKey(entry, kLabel).value_or(""), intForKey(entry, kDefaultInputNumber)});
    }
    return outputs;
}

Edits editsBetween(const ConfiguredOutputs& built, const ConfiguredOutputs& now) {
    std::set<std::int64_t> numbers;
    for (const ConfiguredOutputs* const outputs : {&built, &now}) {
        for (const auto& [number, output] : *outputs) {
            numbers.insert(number);
        }
    }
    Edits edits{0, labelGone(built, now), {}};
    for (const std::int64_t number : numbers) {
        const ConfiguredOutput* const before = find(built, number);
        const ConfiguredOutput* const after = find(now, number);
        if (before != nullptr && after != nullptr && *before == *after) continue;
        ++edits.count;
        if (before != nullptr) edits.labels.insert(before->label);
        if (edits.example.isEmpty()) edits.example = difference(number, before, after);
    }
    return edits;
}

}  // namespace velmora
