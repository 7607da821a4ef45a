#include "host/workbench/WindowMenu.h"

#include <QTabWidget>

#include "host/PluginHost.h"
#include "host/workbench/Words.h"

namespace velmora {

WindowMenu::WindowMenu(const Actions& actions) {
    QMenu& file = *addMenu(Words::tr("&File"));
    add(file, "loadAction", Words::tr("L&oad Settings\u2026"), QKeySequence::Open, actions.load);
    add(file, "saveAction", Words::tr("&Save Settings"), QKeySequence::Save, actions.save);
    add(file, "saveAsAction", Words::tr("Save Settings &As\u2026"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S),
        actions.saveAs);
    file.addSeparator();
    add(file, "quitAction", Words::tr("&Quit"), QKeySequence(Qt::CTRL | Qt::Key_Q), actions.quit);

    QMenu& plugin = *addMenu(Words::tr("Pl&ugin"));
    plugin.setToolTipsVisible(true);
    stopped_ = {
        add(plugin, "startAction", Words::tr("Star&t"), {}, actions.start),
        add(plugin, "startWithDefaultsAction", Words::tr("Start with &Defaults"), {}, actions.startWithDefaults)};
    stopped_[0]->setToolTip(Words::tr("Routes are left as they are"));
    stopped_[1]->setToolTip(Words::tr(kWhatDefaultsDo));
    started_ = {
        add(plugin, "stopAction", Words::tr("Sto&p"), {}, actions.stop),
        add(plugin, "reconnectAction", Words::tr("Reco&nnect"), QKeySequence(Qt::CTRL | Qt::Key_R), actions.reconnect),
        add(plugin, "refreshAction", Words::tr("Re&fresh Values"), QKeySequence::Refresh, actions.refresh),
        addSwitch(plugin, "pollAction", Words::tr("Refresh &Every 2 s"), {}, actions.poll)};

    viewMenu_ = addMenu(Words::tr("&View"));
    addSwitch(*viewMenu_, "settingsAction", Words::tr("&Settings"), Qt::Key_F4, actions.showSettings);
    addSwitch(*viewMenu_, "historyAction", Words::tr("&History and Log"), Qt::Key_F8, actions.showHistory)
        ->setChecked(true);
    viewMenu_->addSeparator();
}

QAction* WindowMenu::add(QMenu& menu, const char* name, const QString& text, const QKeySequence& keys,
                         const std::function<void()>& action) {
    auto* const item = new QAction(text, this);
    item->setObjectName(name);
    item->setShortcut(keys);
    connect(item, &QAction::triggered, this, action);
    menu.addAction(item);
    return item;
}

QAction* WindowMenu::addSwitch(QMenu& menu, const char* name, const QString& text, const QKeySequence& keys,
                               const std::function<void(bool)>& action) {
    auto* const item = add(menu, name, text, keys, [] {});
    item->setCheckable(true);
    connect(item, &QAction::toggled, this, action);
    return item;
}

void WindowMenu::addViews(QTabWidget& views) {
    for (int page = 0; page < views.count(); ++page) {
        add(*viewMenu_, "viewAction", views.tabText(page),
            QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + page)), [&views, page] {
                views.setCurrentIndex(page);
                views.currentWidget()->setFocus();
            });
    }
}

void WindowMenu::showState(bool isStarted, bool canAsk) {
    for (QAction* const action : stopped_) {
        action->setEnabled(!isStarted);
    }
    for (QAction* const action : started_) {
        action->setEnabled(isStarted);
    }
    action("refreshAction")->setEnabled(canAsk);
}

}  // namespace velmora
