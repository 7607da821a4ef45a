// The plugin's attributes as a table: one row for each, in the plugin's order. All views show this one model.
#pragma once

#include <QAbstractTableModel>
#include <QDateTime>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/Values.h"
#include "plugin/VelmoraNodePluginProtocol.h"

namespace velmora {

// Main thread. Never asks the switch server: current values are handed in by whoever does.
class AttributesModel final : public QAbstractTableModel {
  public:
    enum Column { numberColumn, displayNameColumn, nameColumn, defaultColumn, currentColumn, columnTotal };
    // Of each cell: a text that sorts it, numbers by their size and what there is none of last. Of the row, whatever
    // the column: its number and label, those of its current value (the number invalid where there is none), and its
    // marks.
    enum Role { sortRole = Qt::UserRole, numberRole, labelRole, sourceNumberRole, sourceLabelRole, marksRole };
    // What a view shows with a sign and a colour. Not known: there is no current value. Edited: the settings say
    // otherwise than when the attribute was built.
    enum Mark { notKnown = 1, differsFromDefault = 2, locked = 4, failed = 8, changedElsewhere = 16, edited = 32 };

    // Takes over what the plugin's look-ups say now. Attributes that are still there keep their current values and,
    // when told to, the labels that their possible values had where they have none now. Whether any label was kept.
    bool reload(const VelmoraNodePluginProtocol& plugin, bool keepsLabels = false);
    // None: it was asked for without a proper answer, or the answer no longer holds; unread: nobody has asked for it.
    // In its place the last known value stays to be seen, with its time.
    void setCurrentValue(const std::string& name, const std::optional<std::string>& value, bool isUnread = false);

    // For all: they were another device's; for one: it was no answer.
    void forgetValues();
    void forgetValue(const std::string& name);
    // When the current value was read of which that is the longest ago; none where no value is known. For values that
    // are lost, the last known ones count.
    QDateTime oldestReading(const std::deque<std::string>& names, bool areLost) const;

    // Locks hold in this window only; whoever sets values asks for them. A mark outlives its attribute, which may come
    // back.
    void setMark(const std::string& name, Mark mark, bool isOn);
    bool hasMark(const std::string& name, Mark mark) const;
    // Marks it as changed elsewhere for a moment.
    void flash(const std::string& name);

    std::deque<std::string> names() const;
    // None: there is no such attribute.
    std::optional<int> rowOfName(const std::string& name) const;
    bool isPossible(const std::string& name, const std::string& value) const;
    const std::string& nameAtRow(int row) const { return rowAt(row).name; }
    // The values that can be chosen in that row.
    const Values& settableValuesAtRow(int row) const { return rowAt(row).settableValues; }
    // The index of the current value among these; -1 when it is none of them.
    int indexOfCurrentValueAtRow(int row) const;
    // The place of the current value among other values than the attribute's own.
    std::optional<std::size_t> placeOfCurrentValueAtRow(int row, const Values& values) const;
    // The value to be set for the default; none when the plugin tells none or it cannot be set.
    std::optional<std::string> settableDefaultAtRow(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    // Display and tool tip are text without markup or control characters. The current value is shown as the possible
    // value that it stands for.
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    // A current value is editable where there is something to choose.
    Qt::ItemFlags flags(const QModelIndex& index) const override;

  private:
    struct LastValue {
        std::string value;
        QDateTime time;
    };
    struct Row {
        std::string name;
        std::string displayName;
        std::string defaultValue;
        Values possibleValues;
        Values settableValues;
        std::optional<std::string> currentValue;
        std::optional<LastValue> last = {};  // the current value, or else the one before it was lost
        bool isUnread = true;                // why there is no current value: nobody has asked for it
        std::optional<int> number = {};
    };
    using RowNumbers = std::unordered_map<std::string, std::size_t>;
    const Row& rowAt(int row) const { return rows_[static_cast<std::size_t>(row)]; }
    // None when no row has that name; the first when several do.
    const Row* rowNamed(const std::string& name) const;
    bool isCell(const QModelIndex& index) const;
    // As the plugin gave it, and as it is shown.
    std::string text(const QModelIndex& index) const;
    std::string shown(const QModelIndex& index) const;
    // The current value's place among the possible ones; what is seen of it or, where there is none, of the last known
    // one; and the words after that.
    static std::optional<std::size_t> placeOfSeenValue(const Row& row);
    static std::string seenValue(const Row& row);
    static std::string ageOfSeenValue(const Row& row);
    QString sortText(const QModelIndex& index) const;
    QVariant dataOfRow(const Row& row, int role) const;
    QString spokenText(const Row& row) const;
    int marksOf(const Row& row) const;
    void emitRowChanged(int row);

    std::vector<Row> rows_;
    RowNumbers rowNumbers_;                       // by name
    std::unordered_map<std::string, int> marks_;  // that are set from outside, by name
};

}  // namespace velmora
