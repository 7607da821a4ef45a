// Of a plugin's settings view.
#include <QApplication>
#include <QPointer>
#include <QVBoxLayout>
#include <QWidget>

#include "plugincheck/Check.h"

namespace velmora {

namespace {

QWidget* viewOf(Trial& trial) {
    return trial.during("settingsView", [&] { return trial.plugin().settingsView(); });
}

}  // namespace

void checkView(Trial& trial) {
    QWidget window;
    auto* const layout = new QVBoxLayout(&window);
    window.show();
    QPointer<QWidget> view;
    for (int time = 0; time < 2; ++time) {
        trial.start();
        for (int showing = 0; showing < 2; ++showing) {
            view = viewOf(trial);
            if (view == nullptr) notApplicable("the plugin has no settings view");
            viewOf(trial);
            require(view != nullptr, "the view went when settingsView was called again");
            layout->addWidget(view);
            view->show();
            trial.serveShortly();
            trial.setGivenSettings();
            trial.serveShortly();
            require(view != nullptr, "the view went while it was shown");
            // The second time the plugin goes while its view is shown.
            if (time == 1 && showing == 1) break;
            view->hide();
            layout->removeWidget(view);
            view->setParent(nullptr);
            trial.serveShortly();
            require(view != nullptr, "the view went when it was taken out of its window");
        }
        trial.stop();
        trial.release();
        trial.serveShortly();
        require(view == nullptr, "the view is there after the plugin, which owns it, has gone");
        if (time == 0) trial.makePlugin();
    }
}

void checkViewWithoutWindows(Trial& trial) {
    for (const bool isStarted : {false, true}) {
        if (isStarted) trial.start();
        require(viewOf(trial) == nullptr, "settingsView gave a view, although there is no window system");
    }
}

}  // namespace velmora
