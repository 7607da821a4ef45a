#include "host/workbench/panel/SourcesModel.h"

#include <QStringList>

#include "host/workbench/NumberedText.h"
#include "host/workbench/Words.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

SourcesModel::SourcesModel(RoutingState& state) : state_(state) {
    state.observe([this] { followState(); });
    // All values that are read at once lead to one counting.
    news_.setSingleShot(true);
    connect(&news_, &QTimer::timeout, this, &SourcesModel::followState);
    connect(&state.attributes(), &QAbstractItemModel::dataChanged, &news_, [this] { news_.start(0); });
    followState();
}

void SourcesModel::followState() {
    const AttributesModel& attributes = state_.attributes();
    const auto row = attributes.rowOfName(state_.destination());
    const Values values = row ? attributes.settableValuesAtRow(*row) : Values();
    const bool areSame = values == values_;
    if (!areSame) beginResetModel();
    values_ = values;
    current_ = row ? attributes.indexOfCurrentValueAtRow(*row) : -1;
    const auto place = state_.waiting() ? values_.indexOf(state_.waiting()->value) : std::nullopt;
    waiting_ = place ? static_cast<int>(*place) : -1;
    destinations_ = countDestinations();
    if (!areSame) {
        endResetModel();
    } else if (rowCount() > 0) {
        emit dataChanged(index(0), index(rowCount() - 1));
    }
}

std::vector<int> SourcesModel::countDestinations() const {
    std::vector<int> counts(values_.texts().size());
    const AttributesModel& attributes = state_.attributes();
    for (int row = 0; row < attributes.rowCount(); ++row) {
        const auto place = attributes.placeOfCurrentValueAtRow(row, values_);
        if (place) ++counts[*place];
    }
    return counts;
}

int SourcesModel::marksAtRow(int row) const {
    const bool isOnIt = row == current_;
    const bool isElsewhere = destinations_[static_cast<std::size_t>(row)] > (isOnIt ? 1 : 0);
    return (isOnIt ? onIt : 0) | (isElsewhere ? elsewhere : 0) | (row == waiting_ ? waiting : 0);
}

QString SourcesModel::whereIs(int row) const {
    constexpr qsizetype kMost = 20;
    const AttributesModel& attributes = state_.attributes();
    QStringList names;
    for (const std::string& name : attributes.names()) {
        const auto place = attributes.placeOfCurrentValueAtRow(*attributes.rowOfName(name), values_);
        if (place && static_cast<int>(*place) == row) names << state_.titleOf(name).toHtmlEscaped();
    }
    if (names.isEmpty()) return Words::tr("On no destination, as far as is known");
    const qsizetype more = names.size() - kMost;
    if (more > 0) names = names.first(kMost) << Words::tr("and %n more", nullptr, static_cast<int>(more));
    return Words::tr("On %1").arg(names.join("<br>"));
}

int SourcesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(values_.texts().size());
}

QVariant SourcesModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const auto place = static_cast<std::size_t>(index.row());
    switch (role) {
        case Qt::DisplayRole:
            return displayText(valueAtRow(index.row()));
        case Qt::ToolTipRole:
            return toolTipText(valueAtRow(index.row())) + whereIs(index.row());
        case AttributesModel::numberRole: {
            const auto number = values_.numberAt(place);
            return number ? QVariant(static_cast<qlonglong>(*number)) : QVariant();
        }
        case AttributesModel::labelRole:
            return shownLabel(values_, place);
        case AttributesModel::marksRole:
            return marksAtRow(index.row());
        case Qt::AccessibleTextRole: {
            const int marks = marksAtRow(index.row());
            const QString text = displayText(valueAtRow(index.row()));
            if (marks & onIt) return text + ", " + Words::tr("on the selected destination");
            if (marks & waiting) return text + ", " + Words::tr("waits for TAKE");
            return marks & elsewhere ? text + ", " + Words::tr("on another destination") : text;
        }
        default:
            return {};
    }
}

}  // namespace velmora
