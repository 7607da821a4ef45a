// The language of the workbench.
#pragma once

#include <QLocale>
#include <QTranslator>

namespace velmora {

// The workbench's texts are in the first language of the locale that there is a translation for, or else in English,
// as long as this exists. Needs an application object. Main thread.
class Translation {
  public:
    explicit Translation(const QLocale& locale = QLocale());
    Translation(const Translation&) = delete;
    Translation& operator=(const Translation&) = delete;
    ~Translation();

  private:
    QTranslator ofQt_;  // for its own dialogs, where the system has it
    QTranslator ours_;
};

}  // namespace velmora
