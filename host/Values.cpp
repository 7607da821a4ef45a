#include "host/Values.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "host/Blanks.h"

namespace velmora {

namespace {

constexpr std::size_t kNumberDigits = 4;
constexpr std::string_view kDigits = "0123456789";

// What a plugin reads of a value that it is given.
std::string_view numberField(std::string_view text) {
    return text.substr(0, kNumberDigits);
}

// The number that a value begins with; none when it does not begin with four digits.
std::optional<std::int64_t> numberOf(std::string_view text) {
    const bool hasNumber =
        text.size() >= kNumberDigits && numberField(text).find_first_not_of(kDigits) == std::string_view::npos;
    return hasNumber ? std::optional(integerValue(text)) : std::nullopt;
}

// Four digits, or fewer followed by a blank or the end. Anything else a plugin may read as another number ("1e3",
// "-1").
bool beginsWithNumber(std::string_view text) {
    const std::size_t digits = std::min(text.find_first_not_of(kDigits), text.size());
    return digits >= kNumberDigits || (digits > 0 && (digits == text.size() || text[digits] == ' '));
}

// Whether the text begins with this number as "%04d" writes it, followed by a blank or the end.
bool isNumbered(std::string_view text, std::int64_t number) {
    const std::size_t digits = std::min(text.find_first_not_of(kDigits), text.size());
    const bool isWritten = digits == kNumberDigits || (digits > kNumberDigits && text.front() != '0');
    return isWritten && (digits == text.size() || text[digits] == ' ') && integerValue(text) == number;
}

// No more and no less: "1080i" and "44100" begin with digits, too.
bool countUpFromOne(const std::vector<std::string>& texts) {
    std::int64_t number = 0;
    return !texts.empty() &&
           std::all_of(texts.begin(), texts.end(), [&](const std::string& text) { return isNumbered(text, ++number); });
}

}  // namespace

Values::Values(StringList texts)
    : texts_(texts != nullptr ? std::move(texts) : makeStringList()), areNumbered_(countUpFromOne(*texts_)) {}

std::optional<std::size_t> Values::indexOfNumber(std::int64_t number) const {
    if (number < 1 || static_cast<std::size_t>(number) > texts_->size()) return std::nullopt;
    return static_cast<std::size_t>(number - 1);
}

std::optional<std::size_t> Values::indexOf(const std::string& text) const {
    if (areNumbered_) {
        const auto number = numberOf(text);
        return number ? indexOfNumber(*number) : std::nullopt;
    }
    const auto found = std::find(texts_->begin(), texts_->end(), text);
    if (found == texts_->end()) return std::nullopt;
    return static_cast<std::size_t>(found - texts_->begin());
}

bool Values::hasSameNumbersAs(const Values& other) const {
    return areNumbered_ && other.areNumbered_ && texts_->size() == other.texts_->size();
}

std::optional<std::int64_t> Values::numberAt(std::size_t index) const {
    return areNumbered_ ? std::optional(static_cast<std::int64_t>(index) + 1) : std::nullopt;
}

std::string Values::labelAt(std::size_t index) const {
    const std::string& text = (*texts_)[index];
    if (!areNumbered_) return text;
    const std::size_t digits = text.find_first_not_of(kDigits);
    return digits != std::string::npos ? text.substr(digits + 1) : "";
}

bool Values::areSame(const std::string& left, const std::string& right) const {
    if (left == right) return true;
    const auto index = indexOf(left);
    return index && index == indexOf(right);
}

bool Values::canBeSet(const std::string& text) const {
    const std::string_view typed = withoutOuterBlanks(text);
    return !areNumbered_ || (beginsWithNumber(typed) && integerValue(numberField(typed)) == integerValue(typed));
}

std::string Values::meantBy(const std::string& text) const {
    const std::string typed(withoutOuterBlanks(text));
    if (!areNumbered_) return !indexOf(text) && indexOf(typed) ? typed : text;
    const auto index = indexOfNumber(integerValue(typed));
    return index ? (*texts_)[*index] : typed;
}

std::optional<std::string> Values::calledOtherwise(const std::string& text) const {
    const std::string_view typed = withoutOuterBlanks(text);
    const bool isNumberAlone = typed.find_first_not_of("0123456789") == std::string_view::npos;
    const std::string meant = meantBy(text);
    return isNumberAlone || meant == typed || meant == text ? std::nullopt : std::optional(meant);
}

StringList Values::settable() const {
    const auto isSettable = [this](const std::string& text) { return canBeSet(text); };
    if (std::all_of(texts_->begin(), texts_->end(), isSettable)) return texts_;
    std::vector<std::string> settable;
    std::copy_if(texts_->begin(), texts_->end(), std::back_inserter(settable), isSettable);
    return makeStringList(std::move(settable));
}

}  // namespace velmora
