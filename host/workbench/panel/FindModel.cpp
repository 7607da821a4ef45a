#include "host/workbench/panel/FindModel.h"

#include "host/workbench/AttributesModel.h"

namespace velmora {

FindModel::FindModel(QAbstractItemModel& model) {
    setSourceModel(&model);
    setSortRole(AttributesModel::sortRole);
}

void FindModel::find(const QString& text) {
    words_ = FindWords(text, sourceModel()->index(0, 0).data(AttributesModel::numberRole).isValid());
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
    const QModelIndex index = sourceModel()->index(row, 0, parent);
    return words_.areIn(index.data(AttributesModel::numberRole).toString() + ' ' +
                        index.data(AttributesModel::labelRole).toString());
}

}  // namespace velmora
