#pragma once

#include <QHash>
#include <QObject>

class QAbstractItemModel;

// Finds the row of a job without walking the table. Rows carry the job's id in their first column
// under Qt::UserRole. What is known stays true down to the first row that came, went or moved; the
// rest is read again by the next look-up that needs it, so that a run of changes costs one pass.
class JobRows final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY(JobRows)

public:
    explicit JobRows(QAbstractItemModel *model); // the model owns it

    int idAt(int row) const; // 0: no such row
    int rowOf(int id);       // -1: no row of that job

private:
    void forgetFrom(int row);

    const QAbstractItemModel &m_model;
    QHash<int, int> m_rows; // id to row, to be believed below m_known only
    int m_known = 0;        // rows from the top that have been read
};
