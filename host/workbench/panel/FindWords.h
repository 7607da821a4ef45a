// What a person types to find one of many: words, or a number.
#pragma once

#include <QStringList>
#include <optional>

namespace velmora {

class FindWords {
  public:
    FindWords() = default;
    // Digits alone are a number where what is looked for has numbers.
    FindWords(const QString& text, bool areNumbered);

    const std::optional<qlonglong>& number() const { return number_; }
    // Whether the text contains all words, in whatever order; so it does when there are none or there is a number.
    bool areIn(const QString& text) const;
    bool isEmpty() const { return words_.isEmpty() && !number_; }

  private:
    QStringList words_;
    std::optional<qlonglong> number_;
};

}  // namespace velmora
