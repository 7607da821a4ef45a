#include "host/workbench/grid/GridView.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>

#include "host/workbench/Words.h"
#include "host/workbench/grid/CrosspointTable.h"
#include "host/workbench/panel/ControlBar.h"

namespace velmora {

GridView::GridView(RoutingState& state) : model_(state.attributes()) {
    auto* const fields = new QHBoxLayout;
    const auto add = [&](const char* objectName, const QString& what, void (CrosspointModel::*look)(const QString&)) {
        auto* const field = new QLineEdit;
        field->setObjectName(objectName);
        field->setPlaceholderText(what);
        field->setAccessibleName(what);
        field->setClearButtonEnabled(true);
        connect(field, &QLineEdit::textChanged, &model_, [this, look](const QString& text) { (model_.*look)(text); });
        fields->addWidget(field);
    };
    add("gridDestinationField", Words::tr("Find destinations"), &CrosspointModel::findDestinations);
    add("gridSourceField", Words::tr("Find sources"), &CrosspointModel::findSources);

    auto* const table = new CrosspointTable(model_, [&state](const SalvoStep& step) { state.choose(step); });
    // A destination without a source, for what the bar does with it.
    table->verticalHeader()->setSectionsClickable(true);
    connect(table->verticalHeader(), &QHeaderView::sectionClicked, this,
            [this, &state](int row) { state.select(model_.destinationAtRow(row)); });
    auto* const selected = new QLabel;
    selected->setTextFormat(Qt::PlainText);
    selected->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    const auto follow = [this, &state, selected] {
        model_.setWaiting(state.waiting());
        const QString title = state.titleOf(state.destination());
        selected->setText(title.isEmpty() ? Words::tr("Click a crosspoint, or the name of a destination")
                          : state.isExchanging()
                              ? Words::tr("Click the name of the destination to exchange with %1").arg(title)
                              : Words::tr("Selected: %1").arg(title));
    };
    state.observe(follow);
    follow();

    auto* const rows = new QVBoxLayout(this);
    rows->setContentsMargins(4, 4, 4, 0);
    rows->addLayout(fields);
    rows->addWidget(table, 1);
    rows->addWidget(selected);
    rows->addWidget(new ControlBar(state));
    setFocusProxy(table);
}

}  // namespace velmora
