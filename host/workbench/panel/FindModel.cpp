#include "host/workbench/panel/FindModel.h"

#include <algorithm>

#include "host/workbench/AttributesModel.h"

namespace velmora {

FindModel::FindModel(QAbstractItemModel& model) {
    setSourceModel(&model);
    setSortRole(AttributesModel::sortRole);
}

void FindModel::find(const QString& text) {
    const QString wanted = text.trimmed();
    const bool isDigits =
        !wanted.isEmpty() && std::all_of(wanted.begin(), wanted.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    const bool areNumbered = sourceModel()->index(0, 0).data(AttributesModel::numberRole).isValid();
    bool isNumber = false;
    const qlonglong number = wanted.toLongLong(&isNumber);
    number_ = isDigits && areNumbered ? std::optional(isNumber ? number : -1) : std::nullopt;
    words_ = number_ ? QStringList() : wanted.split(' ', Qt::SkipEmptyParts);
    invalidateRowsFilter();
}

QModelIndex FindModel::rowWithNumber(qlonglong number) const {
    for (int row = 0; row < rowCount(); ++row) {
        const QVariant its = index(row, 0).data(AttributesModel::numberRole);
        if (its.isValid() && its.toLongLong() == number) return index(row, 0);
    }
    return {};
}

bool FindModel::filterAcceptsRow(int row, const QModelIndex& parent) const {
    if (words_.isEmpty()) return true;
    const QModelIndex index = sourceModel()->index(row, 0, parent);
    const QString text =
        index.data(AttributesModel::numberRole).toString() + ' ' + index.data(AttributesModel::labelRole).toString();
    return std::all_of(words_.begin(), words_.end(),
                       [&](const QString& word) { return text.contains(word, Qt::CaseInsensitive); });
}

}  // namespace velmora
