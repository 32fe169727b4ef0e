#pragma once

#include "downloaditem.h"

// Paints the cells of the finished list: text only.
class FinishedItem final : public DownloadItem
{
    Q_OBJECT
    Q_DISABLE_COPY(FinishedItem)

public:
    using DownloadItem::DownloadItem;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;

protected:
    bool isText(int) const override { return true; }
};
