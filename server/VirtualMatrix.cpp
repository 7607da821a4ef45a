#include "server/VirtualMatrix.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

std::vector<std::string> numberedLabels(const char* kind, int count) {
    std::vector<std::string> labels;
    labels.reserve(static_cast<std::size_t>(count));
    for (int number = 1; number <= count; ++number) {
        labels.push_back(std::string(kind) + std::to_string(number));
    }
    return labels;
}

// Null for a number that the list does not have.
auto* itemOf(auto& list, int number) {
    const bool isItem = number >= 1 && static_cast<std::size_t>(number) <= list.size();
    return isItem ? &list[static_cast<std::size_t>(number - 1)] : nullptr;
}

bool appendLabel(const std::vector<std::string>& labels, int number, std::string& text) {
    const std::string* const label = itemOf(labels, number);
    if (label != nullptr) text += *label;
    return label != nullptr;
}

// Control characters are the bytes below 0x20, 0x7F, and U+0080 to U+009F, which are 0xC2 and a byte from 0x80 to 0x9F.
void blankControlCharacters(std::string& label) {
    const auto byteAt = [&label](std::size_t at) { return static_cast<unsigned char>(label[at]); };
    for (std::size_t at = 0; at < label.size(); ++at) {
        if (byteAt(at) < 0x20 || byteAt(at) == 0x7F) {
            label[at] = ' ';
        } else if (byteAt(at) == 0xC2 && at + 1 < label.size() && byteAt(at + 1) >= 0x80 && byteAt(at + 1) <= 0x9F) {
            label.replace(at, 2, " ");
        }
    }
}

Result<void> checkLabel(const std::string& label, std::int64_t number, const char* kind) {
    if (label.size() > VirtualMatrix::kMaximumLabelBytes) {
        return Failure{stringWithFormat("the label of %@ %li is longer than %li bytes", kind, number,
                                        VirtualMatrix::kMaximumLabelBytes)};
    }
    if (!isValidUTF8(label)) return Failure{stringWithFormat("the label of %@ %li is not UTF-8", kind, number)};
    return {};
}

Result<void> checkLabels(const std::vector<std::string>& labels, int count, const char* kind) {
    if (labels.size() > static_cast<std::size_t>(count)) {
        return Failure{
            stringWithFormat("it has %li %@ labels, but the matrix has %i %@s", labels.size(), kind, count, kind)};
    }
    for (const std::string& label : labels) {
        if (auto fits = checkLabel(label, &label - labels.data() + 1, kind); !fits) return fits;
    }
    return {};
}

Result<void> checkNumber(int number, int count, const char* kind) {
    if (number >= 1 && number <= count) return {};
    return Failure{stringWithFormat("there is no %@ %i; the matrix has %i %@s", kind, number, count, kind)};
}

Result<void> checkLabels(const std::map<int, std::string>& labels, int count, const char* kind) {
    for (const auto& [number, label] : labels) {
        if (auto known = checkNumber(number, count, kind); !known) return known;
        if (auto fits = checkLabel(label, number, kind); !fits) return fits;
        std::string oneLine = label;
        blankControlCharacters(oneLine);
        if (oneLine != label) {
            return Failure{stringWithFormat("the label of %@ %i holds a control character", kind, number)};
        }
    }
    return {};
}

}  // namespace

VirtualMatrix::VirtualMatrix(int inputs, int outputs)
    : inputs_(std::clamp(inputs, 1, kMaximumSize)), outputs_(std::clamp(outputs, 1, kMaximumSize)) {
    contents_.inputLabels = numberedLabels("Input ", inputs_);
    contents_.outputLabels = numberedLabels("Output ", outputs_);
    contents_.routes.reserve(static_cast<std::size_t>(outputs_));
    for (int output = 0; output < outputs_; ++output) {
        contents_.routes.push_back(output % inputs_ + 1);
    }
}

std::optional<int> VirtualMatrix::routedInput(int output) const {
    MutexLock lock(mutex_);
    const int* const input = itemOf(contents_.routes, output);
    return input != nullptr ? std::optional(*input) : std::nullopt;
}

bool VirtualMatrix::route(int output, int input, std::string_view by) {
    if (output < 1 || output > outputs_ || input < 1 || input > inputs_) return false;
    bool isNew = false;
    {
        MutexLock lock(mutex_);
        isNew = setRoute(output, input, by);
    }
    if (isNew) notifyChange();
    return true;
}

Result<void> VirtualMatrix::change(const MatrixChange& change, std::string_view by) {
    if (auto fits = check(change); !fits) return fits;
    bool isNew = false;
    {
        MutexLock lock(mutex_);
        for (const auto& [input, label] : change.inputLabels) {
            isNew |= setLabel(MatrixNews::What::inputLabel, input, label, by);
        }
        for (const auto& [output, label] : change.outputLabels) {
            isNew |= setLabel(MatrixNews::What::outputLabel, output, label, by);
        }
        for (const auto& [output, input] : change.routes) {
            isNew |= setRoute(output, input, by);
        }
    }
    if (isNew) notifyChange();
    return {};
}

Result<void> VirtualMatrix::check(const MatrixChange& change) const {
    if (auto fit = checkLabels(change.inputLabels, inputs_, "input"); !fit) return fit;
    if (auto fit = checkLabels(change.outputLabels, outputs_, "output"); !fit) return fit;
    for (const auto& [output, input] : change.routes) {
        if (auto known = checkNumber(output, outputs_, "output"); !known) return known;
        if (auto known = checkNumber(input, inputs_, "input"); !known) return known;
    }
    return {};
}

// Both for numbers that the matrix has; false when the value was the same before.
bool VirtualMatrix::setRoute(int output, int input, std::string_view by) {
    int& routed = *itemOf(contents_.routes, output);
    if (std::exchange(routed, input) == input) return false;
    if (newsObserver_) newsObserver_({MatrixNews::What::route, output, input, {}, by});
    return true;
}

bool VirtualMatrix::setLabel(MatrixNews::What what, int number, const std::string& label, std::string_view by) {
    const bool isInput = what == MatrixNews::What::inputLabel;
    std::string& current = *itemOf(isInput ? contents_.inputLabels : contents_.outputLabels, number);
    if (current == label) return false;
    current = label;
    if (newsObserver_) newsObserver_({what, number, 0, label, by});
    return true;
}

bool VirtualMatrix::appendInputLabel(int input, std::string& text) const {
    MutexLock lock(mutex_);
    return appendLabel(contents_.inputLabels, input, text);
}

bool VirtualMatrix::appendOutputLabel(int output, std::string& text) const {
    MutexLock lock(mutex_);
    return appendLabel(contents_.outputLabels, output, text);
}

Result<void> VirtualMatrix::apply(MatrixContents contents) {
    if (auto fit = checkLabels(contents.inputLabels, inputs_, "input"); !fit) return fit;
    if (auto fit = checkLabels(contents.outputLabels, outputs_, "output"); !fit) return fit;
    if (contents.routes.size() > static_cast<std::size_t>(outputs_)) {
        return Failure{
            stringWithFormat("it has %li routes, but the matrix has %i outputs", contents.routes.size(), outputs_)};
    }
    for (const int& input : contents.routes) {
        if (input < 1 || input > inputs_) {
            return Failure{stringWithFormat("output %li is routed from input %i, but the matrix has %i inputs",
                                            &input - contents.routes.data() + 1, input, inputs_)};
        }
    }
    for (auto* labels : {&contents.inputLabels, &contents.outputLabels}) {
        for (std::string& label : *labels) {
            blankControlCharacters(label);
        }
    }
    {
        MutexLock lock(mutex_);
        std::ranges::move(contents.inputLabels, contents_.inputLabels.begin());
        std::ranges::move(contents.outputLabels, contents_.outputLabels.begin());
        std::ranges::move(contents.routes, contents_.routes.begin());
    }
    notifyChange();
    return {};
}

MatrixContents VirtualMatrix::contents() const {
    MutexLock lock(mutex_);
    return contents_;
}

void VirtualMatrix::notifyChange() const {
    if (changeObserver_) changeObserver_();
}

}  // namespace velmora
