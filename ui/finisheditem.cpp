#include "finisheditem.h"

#include <QPainter>

void FinishedItem::paint(QPainter *painter, const QStyleOptionViewItem &option,
                         const QModelIndex &index) const
{
    const QStyleOptionViewItem cell = setOptions(index, option);
    painter->save();
    painter->setClipRect(cell.rect);
    paintText(painter, cell, index, paintGround(painter, cell, index));
    painter->restore();
}
