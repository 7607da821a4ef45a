#include "host/workbench/Translation.h"

#include <QCoreApplication>
#include <QLibraryInfo>

namespace velmora {

namespace {

// Qt's buttons that the dialogs have, translated with the rest: Qt's own translations need not be there.
[[maybe_unused]] constexpr const char* kButtons[] = {
    QT_TRANSLATE_NOOP("QPlatformTheme", "OK"),      QT_TRANSLATE_NOOP("QPlatformTheme", "Save"),
    QT_TRANSLATE_NOOP("QPlatformTheme", "Discard"), QT_TRANSLATE_NOOP("QPlatformTheme", "Cancel"),
    QT_TRANSLATE_NOOP("QPlatformTheme", "&Yes"),
};

constexpr const char* kFolder = ":/translations";

}  // namespace

Translation::Translation(const QLocale& locale) {
    // English needs one, too: for "1 input", "2 inputs".
    const bool isTranslated = ours_.load(locale, "velmora-host", "_", kFolder);
    if (!isTranslated && !ours_.load("velmora-host_en", kFolder)) return;
    // The one that is installed last is asked first.
    if (isTranslated && ofQt_.load(locale, "qtbase", "_", QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&ofQt_);
    QCoreApplication::installTranslator(&ours_);
}

Translation::~Translation() {
    QCoreApplication::removeTranslator(&ours_);
    QCoreApplication::removeTranslator(&ofQt_);
}

}  // namespace velmora
