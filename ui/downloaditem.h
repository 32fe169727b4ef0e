#pragma once

#include <QAbstractItemView>
#include <QColor>
#include <QItemDelegate>
#include <QPersistentModelIndex>
#include <QPointer>
#include <QTimer>

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

    // Shows the tip of a cell, after its whole text when not all of that is to be seen; and the tip
    // of then, as long as somebody looks at it.
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;

protected:
    virtual bool isText(int column) const; // what the cells of the column show
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

    QString tip() const;
    void showTip();

    const QColor m_themeColor;
    QTimer m_tipTimer;
    struct Tip
    {
        QPointer<QAbstractItemView> view;
        QPersistentModelIndex index;
        QPoint place; // on the screen
        QString text;
    } m_tip; // that was last asked for
};
