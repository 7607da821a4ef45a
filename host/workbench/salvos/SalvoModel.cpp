#include "host/workbench/salvos/SalvoModel.h"

#include <algorithm>

#include "host/workbench/NumberedText.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr const char* kTitles[] = {"Destination", "Source", "Now", "State"};

}  // namespace

SalvoModel::SalvoModel(RoutingState& state) : state_(state), run_(state, [this] { emitAllChanged(); }) {
    connect(&state.attributes(), &QAbstractItemModel::dataChanged, this, &SalvoModel::emitAllChanged);
    connect(&state.attributes(), &QAbstractItemModel::modelReset, this, &SalvoModel::emitAllChanged);
}

void SalvoModel::emitAllChanged() {
    if (!salvo_.empty()) emit dataChanged(index(0, 0), index(rowCount() - 1, columnTotal - 1));
}

void SalvoModel::setSalvo(const Salvo& salvo) {
    beginResetModel();
    run_.clear();
    salvo_ = salvo;
    for (SalvoStep& step : salvo_) {
        const auto row = state_.attributes().rowOfName(step.name);
        if (row) step.value = state_.attributes().settableValuesAtRow(*row).meantBy(step.value);
    }
    endResetModel();
}

Salvo SalvoModel::currentRoutes() const {
    const AttributesModel& attributes = state_.attributes();
    Salvo salvo;
    for (int row = 0; row < attributes.rowCount(); ++row) {
        const int place = attributes.indexOfCurrentValueAtRow(row);
        if (place < 0) continue;
        salvo.push_back(
            {attributes.nameAtRow(row), attributes.settableValuesAtRow(row).texts()[static_cast<std::size_t>(place)]});
    }
    return salvo;
}

void SalvoModel::removeRow(int row) {
    Salvo salvo = salvo_;
    salvo.erase(salvo.begin() + row);
    setSalvo(salvo);
}

QString SalvoModel::objection() const {
    for (int row = 0; row < rowCount(); ++row) {
        const SalvoStep& step = salvo_[static_cast<std::size_t>(row)];
        if (differenceAt(row) == Difference::impossible)
            return state_.titleOf(step.name) + " cannot have " + quotedName(step.value);
        const auto sameName = [&](const SalvoStep& other) { return other.name == step.name; };
        if (std::any_of(salvo_.begin(), salvo_.begin() + row, sameName))
            return state_.titleOf(step.name) + " is to be set twice";
    }
    return {};
}

void SalvoModel::fire() {
    if (!isFiring()) run_.fire(salvo_);
}

SalvoModel::Difference SalvoModel::differenceAt(int row) const {
    const SalvoStep& step = salvo_[static_cast<std::size_t>(row)];
    const AttributesModel& attributes = state_.attributes();
    const auto attribute = attributes.rowOfName(step.name);
    if (!attribute || !attributes.isPossible(step.name, step.value)) return Difference::impossible;
    const int now = attributes.indexOfCurrentValueAtRow(*attribute);
    if (now < 0) return Difference::unknown;
    const auto wanted = attributes.settableValuesAtRow(*attribute).indexOf(step.value);
    return wanted && static_cast<int>(*wanted) == now ? Difference::none : Difference::some;
}

int SalvoModel::differences() const {
    int count = 0;
    for (int row = 0; row < rowCount(); ++row) {
        if (differenceAt(row) != Difference::none) ++count;
    }
    return count;
}

QString SalvoModel::stateText(int row) const {
    const auto place = static_cast<std::size_t>(row);
    const auto& outcomes = run_.outcomes();
    const Difference difference = differenceAt(row);
    if (place < outcomes.size()) {
        // What came of it holds until the route is another one.
        if (outcomes[place].hasFollowed && difference == Difference::none) return "\u2713 followed";
        if (!outcomes[place].hasFollowed && difference != Difference::none) return "\u2717 " + outcomes[place].reason;
    }
    if (run_.isFiring() && place >= outcomes.size()) return "\u2026 is next";
    if (state_.isLocked(salvo_[place].name)) return "locked in this window";
    switch (difference) {
        case Difference::none:
            return "= is there";
        case Difference::some:
            return "\u2260 differs";
        case Difference::unknown:
            return "? not known";
        default:
            return "\u2717 not possible now";
    }
}

QString SalvoModel::nowText(int row) const {
    const AttributesModel& attributes = state_.attributes();
    const auto attribute = attributes.rowOfName(salvo_[static_cast<std::size_t>(row)].name);
    return attribute ? attributes.index(*attribute, AttributesModel::currentColumn).data().toString() : QString();
}

int SalvoModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(salvo_.size());
}

int SalvoModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnTotal;
}

QVariant SalvoModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
    const SalvoStep& step = salvo_[static_cast<std::size_t>(index.row())];
    const QString text = index.column() == destinationColumn ? state_.titleOf(step.name)
                         : index.column() == sourceColumn    ? displayText(step.value)
                         : index.column() == nowColumn       ? nowText(index.row())
                                                             : stateText(index.row());
    return role == Qt::DisplayRole ? text : toolTipOf(text);
}

QVariant SalvoModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section >= columnTotal) return {};
    return QString(kTitles[section]);
}

}  // namespace velmora
