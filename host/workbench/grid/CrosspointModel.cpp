#include "host/workbench/grid/CrosspointModel.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "host/workbench/NumberedText.h"
#include "host/workbench/Words.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

CrosspointModel::CrosspointModel(AttributesModel& attributes) : attributes_(attributes), sorted_(attributes) {
    sorted_.sort(AttributesModel::numberColumn);
    // All values that are read at once lead to one pass.
    news_.setSingleShot(true);
    connect(&news_, &QTimer::timeout, this, &CrosspointModel::follow);
    connect(&attributes, &QAbstractItemModel::dataChanged, &news_, [this] { news_.start(0); });
    connect(&sorted_, &QAbstractItemModel::modelReset, this, &CrosspointModel::follow);
    follow();
}

void CrosspointModel::findDestinations(const QString& text) {
    wantedDestinations_ = text;
    sorted_.find(text);
    follow();
}

void CrosspointModel::findSources(const QString& text) {
    wantedSources_ = text;
    follow();
}

void CrosspointModel::setWaiting(const std::optional<SalvoStep>& step) {
    if (step == waiting_) return;
    waiting_ = step;
    news_.start(0);  // later, because this may come while the attributes are being replaced
}

void CrosspointModel::follow() {
    Values sources = allSources();
    auto destinations = foundDestinations(sources);
    auto columns = foundSources(sources);
    const bool isSameTable =
        sources == sources_ && columns == columns_ &&
        std::equal(destinations.begin(), destinations.end(), destinations_.begin(), destinations_.end(),
                   [](const Destination& one, const Destination& other) { return one.attribute == other.attribute; });
    if (!isSameTable) beginResetModel();
    sources_ = std::move(sources);
    destinations_ = std::move(destinations);
    columns_ = std::move(columns);
    if (!isSameTable) {
        endResetModel();
    } else if (rowCount() > 0 && columnCount() > 0) {
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
        emit headerDataChanged(Qt::Vertical, 0, rowCount() - 1);
    }
}

// Usually all attributes have the same values, and then this costs nothing.
Values CrosspointModel::allSources() {
    areAllPossible_ = true;
    std::optional<Values> common;
    for (int row = 0; row < attributes_.rowCount(); ++row) {
        const Values& values = attributes_.settableValuesAtRow(row);
        if (values.texts().empty()) continue;
        if (!common) common = values;
        if (values != *common) areAllPossible_ = false;
    }
    if (areAllPossible_) return common.value_or(Values());
    std::vector<std::string> texts;
    std::unordered_set<std::string> known;
    for (int row = 0; row < attributes_.rowCount(); ++row) {
        for (const std::string& text : attributes_.settableValuesAtRow(row).texts()) {
            if (known.insert(text).second) texts.push_back(text);
        }
    }
    return Values(makeStringList(std::move(texts)));
}

std::vector<CrosspointModel::Destination> CrosspointModel::foundDestinations(const Values& sources) const {
    const auto number = sorted_.number();
    std::vector<Destination> found;
    for (int row = 0; row < sorted_.rowCount(); ++row) {
        const QModelIndex index = sorted_.index(row, 0);
        const int attribute = sorted_.mapToSource(index).row();
        const bool isWanted = !number || index.data(AttributesModel::numberRole) == QVariant(*number);
        if (!isWanted || attributes_.settableValuesAtRow(attribute).texts().empty()) continue;
        Destination destination{attribute};
        const auto source = attributes_.placeOfCurrentValueAtRow(attribute, sources);
        if (source) destination.source = static_cast<int>(*source);
        const bool waits = waiting_ && waiting_->name == attributes_.nameAtRow(attribute);
        const auto place = waits ? sources.indexOf(waiting_->value) : std::nullopt;
        if (place) destination.preset = static_cast<int>(*place);
        found.push_back(destination);
    }
    return found;
}

std::vector<int> CrosspointModel::foundSources(const Values& sources) const {
    const int total = static_cast<int>(sources.texts().size());
    const FindWords wanted(wantedSources_, total > 0 && sources.numberAt(0).has_value());
    std::vector<int> found;
    for (int source = 0; source < total; ++source) {
        const bool isFound =
            wanted.number()
                ? *wanted.number() == source + 1
                : wanted.isEmpty() || wanted.areIn(displayText(sources.texts()[static_cast<std::size_t>(source)]));
        if (isFound) found.push_back(source);
    }
    return found;
}

const std::string& CrosspointModel::destinationAtRow(int row) const {
    return attributes_.nameAtRow(destinations_[static_cast<std::size_t>(row)].attribute);
}

int CrosspointModel::marksAtRow(int row) const {
    const int attribute = destinations_[static_cast<std::size_t>(row)].attribute;
    return attributes_.index(attribute, 0).data(AttributesModel::marksRole).toInt();
}

int CrosspointModel::cellAt(int row, int column) const {
    const Destination& destination = destinations_[static_cast<std::size_t>(row)];
    const int source = columns_[static_cast<std::size_t>(column)];
    const bool isPossible = areAllPossible_ || stepAt(index(row, column));
    return (isPossible ? possible : 0) | (destination.source == source ? routed : 0) |
           (destination.preset == source ? preset : 0);
}

std::optional<SalvoStep> CrosspointModel::stepAt(const QModelIndex& index) const {
    if (!index.isValid()) return std::nullopt;
    const Values& values =
        attributes_.settableValuesAtRow(destinations_[static_cast<std::size_t>(index.row())].attribute);
    const auto place =
        values.indexOf(sources_.texts()[static_cast<std::size_t>(columns_[static_cast<std::size_t>(index.column())])]);
    if (!place) return std::nullopt;
    return SalvoStep{destinationAtRow(index.row()), values.texts()[*place]};
}

int CrosspointModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(destinations_.size());
}

int CrosspointModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

QString CrosspointModel::sourceText(int column) const {
    const auto place = static_cast<std::size_t>(columns_[static_cast<std::size_t>(column)]);
    const auto number = sources_.numberAt(place);
    return numberedText(number ? QString::number(*number) : QString(), shownLabel(sources_, place));
}

QString CrosspointModel::destinationText(int row) const {
    const QModelIndex attribute = attributes_.index(destinations_[static_cast<std::size_t>(row)].attribute, 0);
    return numberedText(attribute.data(AttributesModel::numberRole).toString(),
                        attribute.data(AttributesModel::labelRole).toString());
}

QVariant CrosspointModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount() || index.column() >= columnCount()) return {};
    const QString text = destinationText(index.row()) + "  \u2190  " + sourceText(index.column());
    if (role == Qt::ToolTipRole) return toolTipOf(text);
    if (role != Qt::AccessibleTextRole) return {};
    const int cell = cellAt(index.row(), index.column());
    if (cell & routed) return text + ", " + Words::tr("routed");
    return cell & preset ? text + ", " + Words::tr("waits for TAKE") : text;
}

QVariant CrosspointModel::headerData(int section, Qt::Orientation orientation, int role) const {
    const bool isRow = orientation == Qt::Vertical;
    if (section < 0 || section >= (isRow ? rowCount() : columnCount())) return {};
    if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
    QString text = isRow ? destinationText(section) : sourceText(section);
    if (role == Qt::ToolTipRole) return toolTipOf(text);
    if (!isRow) return text;
    // In front, because the end is the first to be elided.
    const int marks = marksAtRow(section);
    if (marks & AttributesModel::differsFromDefault) text.prepend("\u2260 ");
    if (marks & AttributesModel::locked) text.prepend('[' + Words::tr("locked") + "] ");
    if (marks & AttributesModel::failed) text.prepend("\u2717 ");
    if (marks & AttributesModel::notKnown) text.prepend("? ");
    return text;
}

}  // namespace velmora
