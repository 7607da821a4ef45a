#include "host/workbench/AttributesModel.h"

#include <QGuiApplication>
#include <QTimer>
#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "host/PluginState.h"
#include "host/workbench/NumberedText.h"
#include "host/workbench/Words.h"
#include "platform/foundation/QtText.h"
#include "platform/widgets/Colours.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr std::array<const char*, AttributesModel::columnTotal> kTitles = {
    QT_TRANSLATE_NOOP("Words", "No."), QT_TRANSLATE_NOOP("Words", "Display Name"), QT_TRANSLATE_NOOP("Words", "Name"),
    QT_TRANSLATE_NOOP("Words", "Default"), QT_TRANSLATE_NOOP("Words", "Current Value")};
constexpr std::chrono::milliseconds kFlash{900};

// The number that a name ends in.
std::optional<int> numberAtEndOf(const std::string& name) {
    constexpr std::size_t kMostDigits = 9;
    const std::size_t digits = name.size() - 1 - std::min(name.find_last_not_of("0123456789"), name.size() - 1);
    if (digits == 0 || digits > kMostDigits) return std::nullopt;
    return static_cast<int>(integerValue(std::string_view(name).substr(name.size() - digits)));
}

// The values with the labels of before where they have none now.
Values withLabelsOf(const Values& before, const Values& now) {
    // The number ends at the first blank; a label may end in this, too.
    const auto lacksLabel = [](const std::string& text) {
        return text.ends_with(" (null)") && text.find(' ') == text.rfind(' ');
    };
    const auto& texts = now.texts();
    const auto lacking = std::count_if(texts.begin(), texts.end(), lacksLabel);
    if (lacking == 0 || !now.hasSameNumbersAs(before)) return now;
    if (lacking == std::ssize(texts)) return before;  // shared by all attributes
    std::vector<std::string> mixed = texts;
    for (std::size_t i = 0; i < mixed.size(); ++i) {
        if (lacksLabel(mixed[i])) mixed[i] = before.texts()[i];
    }
    return Values(makeStringList(std::move(mixed)));
}

// Numbers before texts, and by their size.
QString sortTextOf(std::optional<std::int64_t> number, const std::string& text) {
    constexpr int kDigits = 10;
    return (number ? QString("%1 ").arg(*number, kDigits, 10, QChar('0')) : QString()) + qString(text).toCaseFolded();
}

}  // namespace

bool AttributesModel::reload(const VelmoraNodePluginProtocol& plugin, bool keepsLabels) {
    std::vector<Row> rows;
    RowNumbers rowNumbers;
    bool hasKeptLabels = false;
    const StringList names = plugin.attributeNames();  // the plugin need not keep it
    for (const std::string& name : *names) {
        const Row* const same = rowNamed(name);
        Values values = possibleValues(plugin, name);
        if (keepsLabels && same != nullptr) {
            const Values labelled = withLabelsOf(same->possibleValues, values);
            hasKeptLabels |= !(labelled == values);
            values = labelled;
        }
        rowNumbers.emplace(name, rows.size());
        rows.push_back({name, plugin.displayNameOfAttributeWithName(name).value_or(""),
                        plugin.defaultValueOfAttributeWithName(name).value_or(""), values, Values(values.settable()),
                        same != nullptr ? same->currentValue : std::nullopt,
                        same != nullptr ? same->last : std::nullopt, same == nullptr || same->isUnread,
                        numberAtEndOf(name)});
    }
    const bool isSameTable = std::equal(rows.begin(), rows.end(), rows_.begin(), rows_.end(),
                                        [](const Row& left, const Row& right) { return left.name == right.name; });
    if (!isSameTable) beginResetModel();
    rows_ = std::move(rows);
    rowNumbers_ = std::move(rowNumbers);
    if (!isSameTable) {
        endResetModel();
    } else if (!rows_.empty()) {
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnTotal - 1));
    }
    return hasKeptLabels;
}

const AttributesModel::Row* AttributesModel::rowNamed(const std::string& name) const {
    const auto number = rowNumbers_.find(name);
    return number != rowNumbers_.end() ? &rows_[number->second] : nullptr;
}

void AttributesModel::setCurrentValue(const std::string& name, const std::optional<std::string>& value, bool isUnread) {
    const auto number = rowNumbers_.find(name);
    if (number == rowNumbers_.end()) return;
    Row& row = rows_[number->second];
    if (value) {
        // As it is called now: without a connection the plugin's list has no labels.
        const auto place = row.possibleValues.indexOf(*value);
        row.last = LastValue{place ? row.possibleValues.texts()[*place] : *value, QDateTime::currentDateTime()};
    }
    if (row.currentValue == value && row.isUnread == isUnread) return;
    row.currentValue = value;
    row.isUnread = isUnread;
    emitRowChanged(static_cast<int>(number->second));
}

void AttributesModel::forgetValues() {
    for (const std::string& name : names()) {
        forgetValue(name);
    }
}

void AttributesModel::forgetValue(const std::string& name) {
    const auto row = rowOfName(name);
    if (!row) return;
    rows_[static_cast<std::size_t>(*row)].last = std::nullopt;
    setCurrentValue(name, std::nullopt);
    emitRowChanged(*row);
}

QDateTime AttributesModel::oldestReading(const std::deque<std::string>& names, bool areLost) const {
    QDateTime oldest;
    for (const std::string& name : names) {
        const Row* const row = rowNamed(name);
        if (row == nullptr || !row->last || !(row->currentValue || areLost)) continue;
        if (oldest.isNull() || row->last->time < oldest) oldest = row->last->time;
    }
    return oldest;
}

void AttributesModel::emitRowChanged(int row) {
    emit dataChanged(index(row, 0), index(row, columnTotal - 1));
}

void AttributesModel::setMark(const std::string& name, Mark mark, bool isOn) {
    if (static_cast<bool>(marks_[name] & mark) == isOn) return;
    marks_[name] ^= mark;
    if (const auto row = rowOfName(name)) emitRowChanged(*row);
}

bool AttributesModel::hasMark(const std::string& name, Mark mark) const {
    const Row* const row = rowNamed(name);
    return row != nullptr && (marksOf(*row) & mark);
}

void AttributesModel::flash(const std::string& name) {
    setMark(name, changedElsewhere, true);
    QTimer::singleShot(kFlash, this, [this, name] { setMark(name, changedElsewhere, false); });
}

std::optional<int> AttributesModel::rowOfName(const std::string& name) const {
    const auto number = rowNumbers_.find(name);
    return number != rowNumbers_.end() ? std::optional(static_cast<int>(number->second)) : std::nullopt;
}

std::deque<std::string> AttributesModel::names() const {
    std::deque<std::string> names;
    for (const Row& row : rows_) {
        names.push_back(row.name);
    }
    return names;
}

bool AttributesModel::isPossible(const std::string& name, const std::string& value) const {
    const Row* const row = rowNamed(name);
    if (row == nullptr) return false;
    const std::vector<std::string>& values = row->settableValues.texts();
    return std::find(values.begin(), values.end(), value) != values.end();
}

int AttributesModel::indexOfCurrentValueAtRow(int row) const {
    const auto& current = rowAt(row).currentValue;
    const auto index = current ? rowAt(row).settableValues.indexOf(*current) : std::nullopt;
    return index ? static_cast<int>(*index) : -1;
}

std::optional<std::size_t> AttributesModel::placeOfCurrentValueAtRow(int row, const Values& values) const {
    return rowAt(row).currentValue ? values.indexOf(*rowAt(row).currentValue) : std::nullopt;
}

std::optional<std::string> AttributesModel::settableDefaultAtRow(int row) const {
    const auto index = rowAt(row).settableValues.indexOf(rowAt(row).defaultValue);
    return index ? std::optional(rowAt(row).settableValues.texts()[*index]) : std::nullopt;
}

int AttributesModel::marksOf(const Row& row) const {
    const auto marked = marks_.find(row.name);
    const int marks = marked != marks_.end() ? marked->second : 0;
    if (!row.currentValue) return marks | notKnown;
    const bool hasDefault = row.possibleValues.indexOf(row.defaultValue).has_value();
    const bool differs = hasDefault && !row.possibleValues.areSame(*row.currentValue, row.defaultValue);
    return differs ? marks | differsFromDefault : marks;
}

int AttributesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int AttributesModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnTotal;
}

bool AttributesModel::isCell(const QModelIndex& index) const {
    return index.isValid() && index.model() == this && index.row() < rowCount() && index.column() < columnTotal;
}

std::string AttributesModel::text(const QModelIndex& index) const {
    const Row& row = rowAt(index.row());
    switch (index.column()) {
        case numberColumn:
            return row.number ? std::to_string(*row.number) : "";
        case nameColumn:
            return row.name;
        case displayNameColumn:
            return row.displayName;
        case defaultColumn: {
            const auto place = row.possibleValues.indexOf(row.defaultValue);  // it may be called otherwise there
            return place ? row.possibleValues.texts()[*place] : row.defaultValue;
        }
        default:
            return row.currentValue.value_or(seenValue(row));
    }
}

std::string AttributesModel::seenValue(const Row& row) {
    if (const auto place = placeOfSeenValue(row)) return row.possibleValues.texts()[*place];
    if (row.currentValue) return *row.currentValue;
    if (row.last) return row.last->value;
    return (row.isUnread ? Words::tr("not read") : Words::tr("not known")).toStdString();
}

std::string AttributesModel::ageOfSeenValue(const Row& row) {
    return !row.currentValue && row.last ? row.last->time.toString(" (HH:mm:ss)").toStdString() : "";
}

std::optional<std::size_t> AttributesModel::placeOfSeenValue(const Row& row) {
    return row.currentValue ? row.possibleValues.indexOf(*row.currentValue) : std::nullopt;
}

std::string AttributesModel::shown(const QModelIndex& index) const {
    const Row& row = rowAt(index.row());
    if (index.column() != currentColumn) return text(index);
    return seenValue(row) + ageOfSeenValue(row);
}

QString AttributesModel::sortText(const QModelIndex& index) const {
    const Row& row = rowAt(index.row());
    switch (index.column()) {
        case numberColumn:
            return sortTextOf(row.number, row.name);
        case nameColumn: {
            const std::size_t digits = row.name.find_last_not_of("0123456789") + 1;
            return qString(row.name.substr(0, digits)).toCaseFolded() + sortTextOf(row.number, row.name.substr(digits));
        }
        case currentColumn:
            if (!row.currentValue) return QString(QChar(0xFFFF));  // last
            [[fallthrough]];
        default:
            return sortTextOf(std::nullopt, shown(index));
    }
}

QVariant AttributesModel::dataOfRow(const Row& row, int role) const {
    const auto place = placeOfSeenValue(row);
    const QString last = !row.currentValue && row.last ? qString(row.last->value) : QString();
    const qsizetype digits = row.possibleValues.numberAt(0) ? last.indexOf(' ') : -1;
    switch (role) {
        case numberRole:
            return row.number ? QVariant(*row.number) : QVariant();
        case labelRole:
            return displayText(row.displayName.empty() ? row.name : row.displayName);
        case sourceNumberRole: {
            if (digits > 0) return last.first(digits).toLongLong();
            const auto number = place ? row.possibleValues.numberAt(*place) : std::nullopt;
            return number ? QVariant(static_cast<qlonglong>(*number)) : QVariant();
        }
        case sourceLabelRole:
            if (place) return shownLabel(row.possibleValues, *place);
            if (digits > 0) return displayText(last.sliced(digits + 1).toStdString() + ageOfSeenValue(row));
            return displayText(seenValue(row) + ageOfSeenValue(row));
        case marksRole:
            return marksOf(row);
        default:
            return {};
    }
}

QString AttributesModel::spokenText(const Row& row) const {
    const auto textOf = [&](Role number, Role label) {
        return numberedText(dataOfRow(row, number).toString(), dataOfRow(row, label).toString());
    };
    QString text = textOf(numberRole, labelRole) + ": " + textOf(sourceNumberRole, sourceLabelRole);
    for (const auto& [mark, words] : {std::pair{notKnown, QT_TRANSLATE_NOOP("Words", "not known now")},
                                      {differsFromDefault, QT_TRANSLATE_NOOP("Words", "not its default")},
                                      {locked, QT_TRANSLATE_NOOP("Words", "locked in this window")},
                                      {failed, QT_TRANSLATE_NOOP("Words", "the last set failed")},
                                      {edited, QT_TRANSLATE_NOOP("Words", "edited in the settings")}}) {
        if (marksOf(row) & mark) text += ", " + Words::tr(words);
    }
    return text;
}

QVariant AttributesModel::data(const QModelIndex& index, int role) const {
    if (!isCell(index)) return {};
    switch (role) {
        case Qt::DisplayRole: {
            const bool isNumbered = rowAt(index.row()).possibleValues.numberAt(0).has_value();
            const bool isValue = index.column() == defaultColumn || index.column() == currentColumn;
            const QString text = displayText(shown(index));
            const bool isLabel = index.column() == displayNameColumn;
            if (isLabel && (marksOf(rowAt(index.row())) & edited)) return text + "  \u270E";
            const qsizetype blank = text.indexOf(' ');
            return isNumbered && isValue && blank > 0 ? numberedText(text.first(blank), text.sliced(blank + 1)) : text;
        }
        case Qt::ToolTipRole:
            return index.column() == numberColumn ? toolTipOf(spokenText(rowAt(index.row())))
                                                  : toolTipText(shown(index));
        case Qt::EditRole:
            return qString(text(index));
        case Qt::ForegroundRole:
            if (index.column() == currentColumn && !rowAt(index.row()).currentValue)
                return dimmedText(QGuiApplication::palette());
            return {};
        case sortRole:
            return sortText(index);
        case Qt::AccessibleTextRole:
            return index.column() == numberColumn ? QVariant(spokenText(rowAt(index.row()))) : QVariant();
        default:
            return dataOfRow(rowAt(index.row()), role);
    }
}

QVariant AttributesModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnTotal) return {};
    if (role == Qt::DisplayRole) return Words::tr(kTitles[static_cast<std::size_t>(section)]);
    if (role == Qt::ToolTipRole) return Words::tr("Click to sort; the third click gives the plugin's order");
    if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

Qt::ItemFlags AttributesModel::flags(const QModelIndex& index) const {
    if (!isCell(index)) return Qt::NoItemFlags;
    const Qt::ItemFlags shown = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    const bool isPopUp = index.column() == currentColumn && !settableValuesAtRow(index.row()).texts().empty();
    return isPopUp ? shown | Qt::ItemIsEditable : shown;
}

}  // namespace velmora
