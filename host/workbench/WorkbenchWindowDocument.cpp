// The window's part that treats the settings as a document.
#include <QCloseEvent>
#include <QCoreApplication>
#include <QScopedValueRollback>

#include "host/workbench/Words.h"
#include "host/workbench/WorkbenchWindow.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

void WorkbenchWindow::showDocument() {
    const QString file =
        document_.path() ? displayText(document_.path()->filename().string()) : Words::tr("Untitled settings");
    setWindowTitle(QString(file).replace("[*]", "[*][*]") + "[*] \u2013 Velmora Workbench");
    setWindowModified(document_.isUnsaved());
    if (document_.isUnsaved() && !savedOutcome_.isEmpty() && session_.outcome() == savedOutcome_) {
        savedOutcome_.clear();
        session_.setOutcome({});
    }
    showNotices();
}

// Takes over what is being typed. The plugin's view may object to it, and must do so while there is a window.
void WorkbenchWindow::endEditing() {
    if (const QPointer<QWidget> field = focusWidget()) {
        field->clearFocus();
        QWidget* const next = field == nullptr || field->isVisible() ? field.data() : field->parentWidget();
        if (next != nullptr) next->setFocus();
    }
    if (settingsView_ != nullptr) QCoreApplication::sendPostedEvents(settingsView_, QEvent::MetaCall);
}

void WorkbenchWindow::load() {
    const QScopedValueRollback asking(isAsking_, true);
    endEditing();
    if (session_.isArmed() &&
        !dialogs_.mayRouteDefaults(Words::tr("Load settings although the plugin is started with defaults?"),
                                   session_.attributes().rowCount()))
        return;
    document_.load();
    showDocument();
}

void WorkbenchWindow::save() {
    const QScopedValueRollback asking(isAsking_, true);
    endEditing();
    told(document_.save());
}

void WorkbenchWindow::saveAs() {
    const QScopedValueRollback asking(isAsking_, true);
    endEditing();
    told(document_.saveAs());
}

void WorkbenchWindow::told(bool isSaved) {
    session_.setOutcome(
        isSaved ? Words::tr("The settings are saved in %1.").arg(quotedName(document_.path()->filename().string()))
                : Words::tr("The settings were not saved."));
    savedOutcome_ = session_.outcome();
    showDocument();
}

void WorkbenchWindow::saveHistory() {
    const QScopedValueRollback asking(isAsking_, true);
    const auto file = dialogs_.fileForHistory(document_.folder());
    if (!file) return;
    if (const Result<void> saved = history_->saveHistory(*file); !saved) dialogs_.hearOfFailure(saved.failure());
}

void WorkbenchWindow::closeEvent(QCloseEvent* event) {
    if (isAsking_) {
        event->ignore();
        return;
    }
    const QScopedValueRollback asking(isAsking_, true);
    endEditing();
    const bool mayClose = document_.mayLetGo();
    if (mayClose) document_.discardChanges();
    event->setAccepted(mayClose);
}

}  // namespace velmora
