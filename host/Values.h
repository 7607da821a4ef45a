// The values that a plugin offers for one attribute, and which of them a text stands for. A value is a text of the
// plugin's. Some plugins number them from "0001" on and recognize a value by its number alone: "0003 Camera 3" and
// "0003 Input 3" are one value. Of what they are given they may read only the first four characters. Other texts that
// begin with digits ("1080i") stand for themselves.
//
// Any thread; the lists are immutable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/Text.h"

namespace velmora {

class Values {
  public:
    // Null stands for no values.
    explicit Values(StringList texts = nullptr);

    const std::vector<std::string>& texts() const { return *texts_; }
    // Whether they are numbered from 1 on: a value's number is its place, plus one.
    bool areNumbered() const { return areNumbered_; }

    // The place of the value that a text of the plugin's stands for: the one that is equal or has the same number. None
    // when there is no such value.
    std::optional<std::size_t> indexOf(const std::string& text) const;
    // Whether both are numbered, and as far, whatever their labels.
    bool hasSameNumbersAs(const Values& other) const;
    // The number that the value in that place begins with, where values are numbered; and the value without it.
    std::optional<std::int64_t> numberAt(std::size_t index) const;
    std::string labelAt(std::size_t index) const;
    // Whether two texts of the plugin's stand for the same value. It need not be one that is offered.
    bool areSame(const std::string& left, const std::string& right) const;

    // Whether the plugin would understand the text, which a person may have typed, as it is meant: of 10001 it may
    // read 1000, and of 00021 it may read 2. Blanks around it mean nothing.
    bool canBeSet(const std::string& text) const;
    // The offered value that a person means by a text that can be set: "3" is enough where values have numbers, and
    // blanks around it mean nothing. The text itself where none is meant.
    std::string meantBy(const std::string& text) const;
    // What a text with a number and a label stands for, where that has another label here; none where the label agrees,
    // or the text gives the number alone.
    std::optional<std::string> calledOtherwise(const std::string& text) const;
    // Those that can be set.
    StringList settable() const;

    friend bool operator==(const Values& left, const Values& right) {
        return left.texts_ == right.texts_ || *left.texts_ == *right.texts_;
    }

  private:
    std::optional<std::size_t> indexOfNumber(std::int64_t number) const;

    StringList texts_;
    // Whether the first begins with "0001", the next with "0002", and so on without a gap.
    bool areNumbered_ = false;
};

}  // namespace velmora
