#pragma once

#include <QColor>
#include <QItemDelegate>

// Paints the cells of the download list: icon, two columns of text, progress.
class DownloadItem : public QItemDelegate
{
    Q_OBJECT
    Q_DISABLE_COPY(DownloadItem)

public:
    // themeColor: the fill of selected rows.
    DownloadItem(const QColor &themeColor, QObject *parent);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;

protected:
    void drawDisplay(QPainter *painter, const QStyleOptionViewItem &option, const QRect &rect,
                     const QString &text) const override;

    // Background and check mark; gives the rectangle that is left for the content.
    QRect paintGround(QPainter *painter, const QStyleOptionViewItem &option,
                      const QModelIndex &index) const;
    void paintText(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index,
                   const QRect &area) const;

private:
    void paintIcon(QPainter *painter, const QStyleOptionViewItem &option,
                   const QModelIndex &index) const;
    void paintProgress(QPainter *painter, const QStyleOptionViewItem &option,
                       const QString &data) const;

    const QColor m_themeColor;
};
