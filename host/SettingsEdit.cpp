#include "host/SettingsEdit.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <string_view>
#include <utility>

#include "host/Blanks.h"
#include "host/Quotes.h"
#include "host/SettingsKeys.h"
#include "platform/foundation/PropertyListXML.h"

namespace velmora {

namespace {

// More than any matrix has.
constexpr std::int64_t kMaximumNumber = 65'536;
constexpr std::string_view kDefaultWord = ",default=";

Result<std::int64_t> indexInText(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    if (!isWhole || number < 1 || number > kMaximumNumber)
        return Failure{inQuotes(text) + " is no number from 1 to " + std::to_string(kMaximumNumber)};
    return number - 1;
}

std::string shown(std::int64_t index) {
    return std::to_string(index + 1);
}

std::string labelOf(const DictionaryReference& entry) {
    return textForKey(entry, kLabel).value_or("");
}

// Works on one settings dictionary, however many outputs it has.
class Editor {
  public:
    explicit Editor(const DictionaryReference& settings)
        : settings_(settings), outputs_(listForKey(settings, kConfiguredOutputs)) {
        if (outputs_ == nullptr) return;
        for (const PropertyList& each : *outputs_) {
            note(each.dictionary());
        }
    }

    // Where an output is listed more than once, the last entry is the one that counts. Null when there is none.
    DictionaryReference entryOf(std::int64_t output) const {
        const auto found = entries_.find(output);
        return found != entries_.end() ? found->second : nullptr;
    }

    void setServer(const std::string& name) {
        const std::string before = textForKey(settings_, kSelectedDeviceName).value_or("");
        if (before == name) return;
        settings_->insert_or_assign(kSelectedDeviceName, name);
        changes_.push_back("server " + inQuotes(name) + (before.empty() ? "" : " instead of " + inQuotes(before)));
    }

    Result<void> remove(const std::vector<std::int64_t>& numbers) {
        const std::set<std::int64_t> removed(numbers.begin(), numbers.end());
        for (const std::int64_t output : removed) {
            const DictionaryReference entry = entryOf(output);
            if (entry == nullptr) return Failure{"output " + shown(output) + " is not configured"};
            changes_.push_back("output " + shown(output) + " removed: " + inQuotes(labelOf(entry)));
            entries_.erase(output);
        }
        if (removed.empty()) return {};
        std::erase_if(*outputs_, [&](const PropertyList& each) {
            const DictionaryReference entry = each.dictionary();
            if (!removed.contains(integerForKey(entry, kOutputNumber))) return false;
            --labels_[labelOf(entry)];
            return true;
        });
        return {};
    }

    void add(const OutputEdit& edit, const std::string& label) {
        if (outputs_ == nullptr) {
            outputs_ = makeArray();
            settings_->insert_or_assign(kConfiguredOutputs, outputs_);
        }
        const std::int64_t input = edit.defaultInput.value_or(edit.output);
        const DictionaryReference entry = makeDictionary();
        *entry = {{kLabel, label}, {kOutputType, kOutput}, {kOutputNumber, edit.output}, {kDefaultInputNumber, input}};
        outputs_->emplace_back(entry);
        note(entry);
        changes_.push_back("output " + shown(edit.output) + " added: " + inQuotes(label) + ", default input " +
                           shown(input));
    }

    void change(const DictionaryReference& entry, const OutputEdit& edit) {
        const std::string name = "output " + shown(edit.output) + ": ";
        if (const std::string before = labelOf(entry); edit.label && *edit.label != before) {
            entry->insert_or_assign(kLabel, *edit.label);
            --labels_[before];
            ++labels_[*edit.label];
            changes_.push_back(name + inQuotes(*edit.label) + " instead of " + inQuotes(before));
        }
        if (!edit.defaultInput) return;
        const PropertyList* const before = valueForKey(entry, kDefaultInputNumber);
        if (before != nullptr && *before == PropertyList(*edit.defaultInput)) return;
        changes_.push_back(name + "default input " + shown(*edit.defaultInput) +
                           (before != nullptr ? " instead of " + shown(before->integerValue()) : ""));
        entry->insert_or_assign(kDefaultInputNumber, *edit.defaultInput);
    }

    // The number of outputs with this label.
    int countOf(const std::string& label) const {
        const auto found = labels_.find(label);
        return found != labels_.end() ? found->second : 0;
    }

    std::vector<std::string> changes() && { return std::move(changes_); }

  private:
    void note(const DictionaryReference& entry) {
        if (entry == nullptr) return;
        entries_.insert_or_assign(integerForKey(entry, kOutputNumber), entry);
        ++labels_[labelOf(entry)];
    }

    const DictionaryReference& settings_;
    ArrayReference outputs_;  // null while there is none
    std::map<std::int64_t, DictionaryReference> entries_;
    std::map<std::string, int> labels_;
    std::vector<std::string> changes_;
};

}  // namespace

Result<std::string> textForSettings(const std::string& text) {
    if (textInPropertyList(text) == text) return text;
    return Failure{inQuotes(text) + " holds a character that a settings file cannot hold"};
}

Result<OutputEdit> outputEditInText(const std::string& text) {
    OutputEdit edit;
    std::string_view rest = text;
    if (const std::size_t at = rest.rfind(kDefaultWord); at != std::string_view::npos) {
        const auto input = indexInText(rest.substr(at + kDefaultWord.size()));
        if (!input) return input.failure();
        edit.defaultInput = *input;
        rest = rest.substr(0, at);
    }
    if (const std::size_t sign = rest.find('='); sign != std::string_view::npos) {
        const auto label = textForSettings(std::string(rest.substr(sign + 1)));
        if (!label) return label.failure();
        if (isBlank(*label)) return Failure{"the label in " + inQuotes(text) + " is blank"};
        if (hasControlCharacter(*label))
            return Failure{"there is a control character in the label of " + inQuotes(text)};
        edit.label = *label;
        rest = rest.substr(0, sign);
    }
    const auto output = indexInText(rest);
    if (!output) return output.failure();
    edit.output = *output;
    return edit;
}

Result<std::vector<std::int64_t>> outputsInText(const std::string& text) {
    std::vector<std::int64_t> outputs;
    std::string_view rest = text;
    for (bool isLast = false; !isLast;) {
        const std::size_t comma = rest.find(',');
        isLast = comma == std::string_view::npos;
        const std::string_view part = rest.substr(0, comma);
        if (!isLast) rest.remove_prefix(comma + 1);
        const std::size_t dash = part.find('-', 1);  // "-1" is one word, and wrong
        const auto first = indexInText(part.substr(0, dash));
        const auto last = dash == std::string_view::npos ? first : indexInText(part.substr(dash + 1));
        if (!first || !last) return first ? last.failure() : first.failure();
        if (*last < *first) return Failure{inQuotes(part) + " ends before it begins"};
        for (std::int64_t output = *first; output <= *last; ++output) {
            outputs.push_back(output);
        }
    }
    return outputs;
}

Result<MatrixSize> matrixSizeInText(std::string_view text) {
    const std::size_t sign = std::min(text.find('x'), text.size());
    const auto lastInput = indexInText(text.substr(0, sign));
    const auto lastOutput = indexInText(text.substr(std::min(sign + 1, text.size())));
    if (!lastInput || !lastOutput) return Failure{inQuotes(text) + " is no number of inputs and outputs, such as 16x8"};
    return MatrixSize{static_cast<std::size_t>(*lastInput) + 1, static_cast<std::size_t>(*lastOutput) + 1};
}

std::vector<std::int64_t> outputsWithoutLabel(const DictionaryReference& settings, const SettingsEdit& edit) {
    const Editor editor(settings);
    const std::set<std::int64_t> removed(edit.removals.begin(), edit.removals.end());
    std::vector<std::int64_t> outputs;
    for (const OutputEdit& each : edit.outputs) {
        const bool isNew = removed.contains(each.output) || editor.entryOf(each.output) == nullptr;
        if (!each.label && isNew) outputs.push_back(each.output);
    }
    return outputs;
}

Result<std::vector<std::string>> changeSettings(const DictionaryReference& settings, const SettingsEdit& edit,
                                                const std::map<std::int64_t, std::string>& labels) {
    Editor editor(settings);
    if (edit.server) editor.setServer(*edit.server);
    if (auto removed = editor.remove(edit.removals); !removed) return removed.failure();
    std::set<std::string> given;
    for (const OutputEdit& each : edit.outputs) {
        if (each.label) given.insert(*each.label);
    }
    // With a number where it is taken. Those of earlier outputs stay taken, so the search goes on where it ended.
    std::map<std::string, int> lastNumbers;
    const auto freeLabel = [&](const std::string& label) {
        std::string free = label;
        for (int& number = lastNumbers.emplace(label, 1).first->second;
             editor.countOf(free) > 0 || given.contains(free);) {
            free = label + ' ' + std::to_string(++number);
        }
        return free;
    };
    for (const OutputEdit& each : edit.outputs) {
        if (const DictionaryReference entry = editor.entryOf(each.output)) {
            editor.change(entry, each);
            continue;
        }
        const auto told = labels.find(each.output);
        const std::string made = told != labels.end() ? told->second : "Output " + shown(each.output);
        editor.add(each, each.label ? *each.label : freeLabel(made));
    }
    for (const std::string& label : given) {
        if (editor.countOf(label) > 1) return Failure{"the label " + inQuotes(label) + " is taken by another output"};
    }
    return std::move(editor).changes();
}

}  // namespace velmora
