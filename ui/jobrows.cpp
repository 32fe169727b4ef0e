#include "jobrows.h"

#include <QAbstractItemModel>

#include <algorithm>

JobRows::JobRows(QAbstractItemModel *model)
    : QObject(model)
    , m_model(*model)
{
    const auto forget = [this](const QModelIndex &, int first) { forgetFrom(first); };
    connect(model, &QAbstractItemModel::rowsInserted, this, forget);
    connect(model, &QAbstractItemModel::rowsRemoved, this, forget);
    const auto forgetAll = [this] { forgetFrom(0); };
    connect(model, &QAbstractItemModel::rowsMoved, this, forgetAll);
    connect(model, &QAbstractItemModel::layoutChanged, this, forgetAll);
    connect(model, &QAbstractItemModel::modelReset, this, forgetAll);
}

int JobRows::idAt(int row) const
{
    return m_model.index(row, 0).data(Qt::UserRole).toInt();
}

int JobRows::rowOf(int id)
{
    const int count = m_model.rowCount();
    int row = m_rows.value(id, count);
    if (row < m_known && idAt(row) == id)
        return row;
    for (; m_known < count; ++m_known)
        m_rows.insert(idAt(m_known), m_known);
    row = m_rows.value(id, count);
    if (row < count && idAt(row) == id)
        return row;
    m_rows.remove(id); // its row is gone
    return -1;
}

void JobRows::forgetFrom(int row)
{
    m_known = std::min(m_known, row);
}
