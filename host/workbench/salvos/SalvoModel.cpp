#include "host/workbench/salvos/SalvoModel.h"

#include <algorithm>

#include "host/workbench/NumberedText.h"
#include "host/workbench/Words.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr const char* kTitles[] = {QT_TRANSLATE_NOOP("Words", "Destination"), QT_TRANSLATE_NOOP("Words", "Source"),
                                   QT_TRANSLATE_NOOP("Words", "Now"), QT_TRANSLATE_NOOP("Words", "State")};

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
    endResetModel();
}

Salvo SalvoModel::salvo() const {
    Salvo meant = salvo_;
    for (std::size_t i = 0; i < meant.size(); ++i) {
        meant[i].value = meantAt(static_cast<int>(i));
    }
    return meant;
}

std::string SalvoModel::meantAt(int row) const {
    const SalvoStep& step = salvo_[static_cast<std::size_t>(row)];
    const auto attribute = state_.attributes().rowOfName(step.name);
    return attribute ? state_.attributes().settableValuesAtRow(*attribute).meantBy(step.value) : step.value;
}

std::optional<std::string> SalvoModel::calledOtherwiseAt(int row) const {
    const SalvoStep& step = salvo_[static_cast<std::size_t>(row)];
    const auto attribute = state_.attributes().rowOfName(step.name);
    return attribute ? state_.attributes().settableValuesAtRow(*attribute).calledOtherwise(step.value) : std::nullopt;
}

QString SalvoModel::doubts() const {
    QStringList doubts;
    for (int row = 0; row < rowCount(); ++row) {
        const SalvoStep& step = salvo_[static_cast<std::size_t>(row)];
        if (const auto name = calledOtherwiseAt(row))
            doubts << Words::tr("%1: %2 is called %3 now")
                          .arg(state_.titleOf(step.name), quotedName(step.value), quotedName(*name));
    }
    return doubts.join('\n');
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
            return Words::tr("%1 cannot have %2").arg(state_.titleOf(step.name), quotedName(step.value));
        const auto sameName = [&](const SalvoStep& other) { return other.name == step.name; };
        if (std::any_of(salvo_.begin(), salvo_.begin() + row, sameName))
            return Words::tr("%1 is to be set twice").arg(state_.titleOf(step.name));
    }
    return {};
}

void SalvoModel::fire() {
    if (!isFiring()) run_.fire(salvo());
}

SalvoModel::Difference SalvoModel::differenceAt(int row) const {
    const SalvoStep& step = salvo_[static_cast<std::size_t>(row)];
    const AttributesModel& attributes = state_.attributes();
    const auto attribute = attributes.rowOfName(step.name);
    if (!attribute || !attributes.isPossible(step.name, meantAt(row))) return Difference::impossible;
    const int now = attributes.indexOfCurrentValueAtRow(*attribute);
    if (now < 0) return Difference::unknown;
    const auto wanted = attributes.settableValuesAtRow(*attribute).indexOf(step.value);
    return wanted && static_cast<int>(*wanted) == now ? Difference::none : Difference::some;
}

SalvoModel::Differences SalvoModel::differences() const {
    Differences count;
    for (int row = 0; row < rowCount(); ++row) {
        const Difference difference = differenceAt(row);
        if (difference == Difference::unknown)
            ++count.unknown;
        else if (difference != Difference::none)
            ++count.differing;
    }
    return count;
}

QString SalvoModel::stateText(int row) const {
    const auto place = static_cast<std::size_t>(row);
    const auto& outcomes = run_.outcomes();
    const Difference difference = differenceAt(row);
    if (place < outcomes.size()) {
        // What came of it holds until the route is another one.
        if (outcomes[place].hasFollowed && difference == Difference::none) return "\u2713 " + Words::tr("followed");
        if (!outcomes[place].hasFollowed && difference != Difference::none) return "\u2717 " + outcomes[place].reason;
    }
    if (run_.isFiring() && place >= outcomes.size()) return "\u2026 " + Words::tr("is next");
    if (state_.isLocked(salvo_[place].name)) return Words::tr("locked in this window");
    const auto name = calledOtherwiseAt(row);
    if (name) return "! " + Words::tr("called %1 now; the number counts").arg(quotedName(*name));
    switch (difference) {
        case Difference::none:
            return "= " + Words::tr("is there");
        case Difference::some:
            return "\u2260 " + Words::tr("differs");
        case Difference::unknown:
            return "? " + Words::tr("not known");
        default:
            return "\u2717 " + Words::tr("not possible now");
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
                         : index.column() == sourceColumn
                             ? displayText(calledOtherwiseAt(index.row()) ? step.value : meantAt(index.row()))
                         : index.column() == nowColumn ? nowText(index.row())
                                                       : stateText(index.row());
    return role == Qt::DisplayRole ? text : toolTipOf(text);
}

QVariant SalvoModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section >= columnTotal) return {};
    return Words::tr(kTitles[section]);
}

}  // namespace velmora
