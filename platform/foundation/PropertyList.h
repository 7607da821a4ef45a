// Property-list values: text, integer, boolean, real, list and dictionary.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace velmora {

class PropertyList;

// Lists and dictionaries are shared by reference: a copied PropertyList that holds one holds the very same object. They
// carry no lock; one thread at a time uses them (in the system: the main thread).
using PropertyListArray = std::vector<PropertyList>;
using PropertyListDictionary = std::map<std::string, PropertyList, std::less<>>;
using ArrayReference = std::shared_ptr<PropertyListArray>;
using DictionaryReference = std::shared_ptr<PropertyListDictionary>;

// Every integer type but booleans and characters: whoever writes 'x' means a text.
template <typename Type>
concept PropertyListInteger =
    std::integral<Type> && !std::same_as<Type, bool> && !std::same_as<Type, char> && !std::same_as<Type, wchar_t> &&
    !std::same_as<Type, char8_t> && !std::same_as<Type, char16_t> && !std::same_as<Type, char32_t>;

// Takes these types and nothing that C++ would merely convert to one of them, such as a pointer to a boolean.
class PropertyList {
  public:
    // An empty text; dictionary["key"] needs it.
    PropertyList() = default;
    PropertyList(std::string text) : value_(std::move(text)) {}
    PropertyList(std::string_view text) : value_(std::string(text)) {}
    PropertyList(const char* text) : value_(std::string(text)) {}
    PropertyList(std::nullptr_t) = delete;
    // An unsigned one above the largest std::int64_t becomes that.
    template <PropertyListInteger Integer>
    PropertyList(Integer integer)
        : value_(std::in_range<std::int64_t>(integer) ? static_cast<std::int64_t>(integer)
                                                      : std::numeric_limits<std::int64_t>::max()) {}
    template <std::same_as<bool> Boolean>
    PropertyList(Boolean boolean) : value_(boolean) {}
    template <std::floating_point Real>
    PropertyList(Real real) : value_(static_cast<double>(real)) {}
    // The reference must not be null.
    PropertyList(ArrayReference array) : value_(std::move(array)) {}
    PropertyList(DictionaryReference dictionary) : value_(std::move(dictionary)) {}

    // The value of that type, or none (null) when it is of another.
    std::optional<std::string> text() const { return held<std::string>(); }
    std::optional<bool> boolean() const { return held<bool>(); }
    std::optional<double> real() const { return held<double>(); }
    ArrayReference array() const { return held<ArrayReference>().value_or(nullptr); }
    DictionaryReference dictionary() const { return held<DictionaryReference>().value_or(nullptr); }

    bool isInteger() const { return std::holds_alternative<std::int64_t>(value_); }

    // The value as an integer: a number cut to the type (a 32-bit reading takes the low 32 bits of an integer), a real
    // without its fraction and clamped, a boolean as 0 or 1, a text read leniently, anything else 0.
    std::int64_t integerValue() const;
    std::int32_t intValue() const;

    // Equal in type and content, lists and dictionaries compared deeply.
    friend bool operator==(const PropertyList& left, const PropertyList& right);

  private:
    template <typename Value>
    std::optional<Value> held() const {
        const auto* value = std::get_if<Value>(&value_);
        return value != nullptr ? std::optional(*value) : std::nullopt;
    }

    std::variant<std::string, std::int64_t, bool, double, ArrayReference, DictionaryReference> value_;
};

// New and empty. They are made here, in code that is never unloaded, so that a host may keep them longer than the
// plugin that gave them.
ArrayReference makeArray();
DictionaryReference makeDictionary();

// The value under a key, or null when the dictionary is null or has no such key. The pointer lives as long as the
// entry.
const PropertyList* valueForKey(const DictionaryReference& dictionary, std::string_view key);
// The text under a key; none when it is absent or no text.
std::optional<std::string> textForKey(const DictionaryReference& dictionary, std::string_view key);
// The integer under a key, and its lowest 32 bits; 0 when it is absent.
std::int64_t integerForKey(const DictionaryReference& dictionary, std::string_view key);
std::int32_t intForKey(const DictionaryReference& dictionary, std::string_view key);

// A new dictionary with the same entries; the values themselves are shared. Null gives an empty dictionary.
DictionaryReference shallowCopy(const DictionaryReference& dictionary);

}  // namespace velmora
