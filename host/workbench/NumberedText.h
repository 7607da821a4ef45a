// Texts that are already fit to show, put together.
#pragma once

#include <QString>

#include "host/Values.h"
#include "host/workbench/Words.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

// A label from right to left must not pull the number before it to its other side. The number may be empty.
inline QString numberedText(const QString& number, const QString& label) {
    if (number.isEmpty()) return label;
    if (!label.isRightToLeft()) return number + ' ' + label;
    constexpr QChar kLeftToRightMark(0x200E);
    constexpr QChar kIsolate(0x2068);
    constexpr QChar kIsolateEnd(0x2069);
    return kLeftToRightMark + number + ' ' + kIsolate + label + kIsolateEnd;
}

// The label of the value in that place. A plugin that has numbers for its values, but not their labels, writes what its
// system writes for no object.
inline QString shownLabel(const Values& values, std::size_t place) {
    const std::string label = values.labelAt(place);
    return values.areNumbered() && label == "(null)" ? Words::tr("not known") : displayText(label);
}

// As a tool tip, where Qt would take what looks like markup for markup.
inline QString toolTipOf(const QString& shown) {
    return shown.isEmpty() ? QString() : "<p>" + shown.toHtmlEscaped() + "</p>";
}

}  // namespace velmora
