#include "host/workbench/panel/FindWords.h"

#include <algorithm>

namespace velmora {

FindWords::FindWords(const QString& text, bool areNumbered) : words_(text.split(' ', Qt::SkipEmptyParts)) {
    const QString wanted = text.trimmed();
    const bool isDigits = std::all_of(wanted.begin(), wanted.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    if (wanted.isEmpty() || !isDigits || !areNumbered) return;
    bool fits = false;
    const qlonglong number = wanted.toLongLong(&fits);
    number_ = fits ? number : -1;  // no row has that
    words_.clear();
}

bool FindWords::areIn(const QString& text) const {
    return std::all_of(words_.begin(), words_.end(),
                       [&](const QString& word) { return text.contains(word, Qt::CaseInsensitive); });
}

}  // namespace velmora
