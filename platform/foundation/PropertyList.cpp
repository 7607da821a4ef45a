#include "platform/foundation/PropertyList.h"

#include <cmath>
#include <limits>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

template <typename Integer>
Integer integerWithReal(double real) {
    using Limits = std::numeric_limits<Integer>;
    if (std::isnan(real)) return 0;
    // The upper limit itself may not be a double; the next power of two is.
    if (real >= std::ldexp(1.0, Limits::digits)) return Limits::max();
    if (real <= static_cast<double>(Limits::min())) return Limits::min();
    return static_cast<Integer>(real);
}

// Equal when they are the very same object, or hold equal entries.
template <typename Reference>
bool equalReferences(const Reference& left, const Reference& right) {
    return left == right || *left == *right;
}

}  // namespace

std::int64_t PropertyList::integerValue() const {
    if (const auto* integer = std::get_if<std::int64_t>(&value_)) return *integer;
    if (const auto* boolean = std::get_if<bool>(&value_)) return *boolean ? 1 : 0;
    if (const auto* real = std::get_if<double>(&value_)) return integerWithReal<std::int64_t>(*real);
    if (const auto* text = std::get_if<std::string>(&value_)) return velmora::integerValue(*text);
    return 0;
}

std::int32_t PropertyList::intValue() const {
    if (const auto* real = std::get_if<double>(&value_)) return integerWithReal<std::int32_t>(*real);
    if (const auto* text = std::get_if<std::string>(&value_)) return velmora::intValue(*text);
    // Cut, not clamped: so the stored numbers have always been read.
    return static_cast<std::int32_t>(integerValue());
}

bool operator==(const PropertyList& left, const PropertyList& right) {
    if (left.value_.index() != right.value_.index()) return false;
    if (const ArrayReference array = left.array()) return equalReferences(array, right.array());
    if (const DictionaryReference dictionary = left.dictionary()) {
        return equalReferences(dictionary, right.dictionary());
    }
    return left.value_ == right.value_;
}

const PropertyList* valueForKey(const DictionaryReference& dictionary, std::string_view key) {
    if (!dictionary) return nullptr;
    const auto entry = dictionary->find(key);
    return entry != dictionary->end() ? &entry->second : nullptr;
}

std::optional<std::string> textForKey(const DictionaryReference& dictionary, std::string_view key) {
    const PropertyList* value = valueForKey(dictionary, key);
    return value != nullptr ? value->text() : std::nullopt;
}

std::int64_t integerForKey(const DictionaryReference& dictionary, std::string_view key) {
    const PropertyList* value = valueForKey(dictionary, key);
    return value != nullptr ? value->integerValue() : 0;
}

std::int32_t intForKey(const DictionaryReference& dictionary, std::string_view key) {
    const PropertyList* value = valueForKey(dictionary, key);
    return value != nullptr ? value->intValue() : 0;
}

DictionaryReference shallowCopy(const DictionaryReference& dictionary) {
    return dictionary ? std::make_shared<PropertyListDictionary>(*dictionary) : makeDictionary();
}

ArrayReference makeArray() {
    return std::make_shared<PropertyListArray>();
}

DictionaryReference makeDictionary() {
    return std::make_shared<PropertyListDictionary>();
}

}  // namespace velmora
