// The workbench's own texts in the person's language. What the plugin, the files and the command line say stays as it
// is.
#pragma once

#include <QCoreApplication>

namespace velmora {

// Words::tr("...") gives the text that resources/translations has for it; Words::tr("%n ...", nullptr, count) the one
// for that count. A constant is marked by QT_TRANSLATE_NOOP("Words", "...").
struct Words {
    Q_DECLARE_TR_FUNCTIONS(Words)
};

}  // namespace velmora
