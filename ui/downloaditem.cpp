#include "downloaditem.h"

#include "columns.h"
#include "jobtexts.h"
#include "progressbarpainter.h"

#include <QApplication>
#include <QHelpEvent>
#include <QIcon>
#include <QPainter>
#include <QTextDocument>
#include <QToolTip>

static bool isSelected(const QStyleOptionViewItem &option)
{
    return option.state.testFlag(QStyle::State_Selected);
}

static QFont textFont()
{
    return QFont(QStringLiteral("Arial"), 10);
}

// Titles, paths and what FFmpeg says are no markup; what is wraps its lines, early: only long ones
// shall.
static QString inTip(const QString &text)
{
    constexpr int longest = 80; // characters
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString &line : lines) {
        if (line.size() <= longest)
            line.replace(QLatin1Char(' '), QChar(QChar::Nbsp));
    }
    return Qt::convertFromPlainText(lines.join(QLatin1Char('\n')), Qt::WhiteSpaceNormal);
}

DownloadItem::DownloadItem(const QColor &themeColor, QObject *parent)
    : QItemDelegate(parent)
    , m_themeColor(themeColor)
{
    constexpr int second = 1000;
    m_tipTimer.setInterval(second);
    connect(&m_tipTimer, &QTimer::timeout, this, [this] {
        // One that is about to go because the mouse has left must not be called back.
        const bool isPointedAt =
            m_tip.view && m_tip.view->visualRect(m_tip.index)
                              .contains(m_tip.view->viewport()->mapFromGlobal(QCursor::pos()));
        if (isPointedAt && QToolTip::isVisible() && QToolTip::text() == m_tip.text)
            showTip();
        else
            m_tipTimer.stop();
    });
}

void DownloadItem::paint(QPainter *painter, const QStyleOptionViewItem &option,
                         const QModelIndex &index) const
{
    const QStyleOptionViewItem cell = setOptions(index, option);
    painter->save();
    painter->setClipRect(cell.rect);
    const QRect area = paintGround(painter, cell, index);
    if (index.column() == DownloadColumns::State)
        paintIcon(painter, cell, index);
    else if (index.column() == DownloadColumns::Progress)
        paintProgress(painter, cell, index.data().toString());
    else
        paintText(painter, cell, index, area);
    painter->restore();
}

QRect DownloadItem::paintGround(QPainter *painter, const QStyleOptionViewItem &option,
                                const QModelIndex &index) const
{
    if (option.showDecorationSelected && isSelected(option)) {
        painter->fillRect(option.rect, m_themeColor);
    } else {
        const QVariant brush = index.data(Qt::BackgroundRole);
        if (brush.canConvert<QBrush>()) {
            painter->save();
            painter->setBrushOrigin(option.rect.topLeft());
            painter->fillRect(option.rect, qvariant_cast<QBrush>(brush));
            painter->restore();
        }
    }

    QRect checkRect;
    QRect noDecoration;
    QRect displayRect(QPoint(0, 0), option.rect.size());
    const QVariant check = index.data(Qt::CheckStateRole);
    if (check.isValid())
        checkRect = doCheck(option, option.rect, check);
    doLayout(option, &checkRect, &noDecoration, &displayRect, false);
    drawCheck(painter, option, checkRect, static_cast<Qt::CheckState>(check.toInt()));
    return displayRect;
}

void DownloadItem::paintText(QPainter *painter, const QStyleOptionViewItem &option,
                             const QModelIndex &index, const QRect &area) const
{
    drawDisplay(painter, option, area, index.data().toString());
}

// The base class lays out and elides; it is handed the list's font, colours and alignment. The
// direction is the text's own and the alignment absolute: a title that runs from right to left
// keeps its punctuation at its end and still begins at the left edge of the column.
void DownloadItem::drawDisplay(QPainter *painter, const QStyleOptionViewItem &option,
                               const QRect &rect, const QString &text) const
{
    QStyleOptionViewItem cell = option;
    cell.font = textFont();
    cell.fontMetrics = QFontMetrics(cell.font);
    cell.direction = text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight;
    cell.displayAlignment = Qt::AlignLeft | Qt::AlignVCenter | Qt::AlignAbsolute;
    cell.features &= ~QStyleOptionViewItem::WrapText;
    cell.palette.setColor(QPalette::Highlight, m_themeColor);
    cell.textElideMode = Qt::ElideRight;
    QString lines = text;
    lines.replace(QLatin1Char('\n'), QChar(QChar::LineSeparator));
    QItemDelegate::drawDisplay(painter, cell, rect, lines);
}

// The icon draws itself, at the resolution of what it is painted on.
void DownloadItem::paintIcon(QPainter *painter, const QStyleOptionViewItem &option,
                             const QModelIndex &index) const
{
    const QIcon icon = qvariant_cast<QIcon>(index.data(Qt::DecorationRole));
    if (icon.isNull())
        return;
    const QSize size = icon.actualSize(option.decorationSize);
    const QPoint offset((option.rect.width() - size.width()) / 2,
                        (option.rect.height() - size.height()) / 2);
    icon.paint(painter, QRect(option.rect.topLeft() + offset, size));
}

void DownloadItem::paintProgress(QPainter *painter, const QStyleOptionViewItem &option,
                                 const QString &data) const
{
    const std::optional<ProgressReading> reading = readProgress(data);
    if (!reading)
        return;
    const QRect cell = option.rect;
    if (reading->failed) {
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setFont(QFont(QStringLiteral("Arial"), 8));
        // Red on the fill of a selected row cannot be read.
        painter->setPen(isSelected(option) ? QColor(255, 214, 214) : QColor(Qt::red));
        painter->drawText(cell, Qt::AlignCenter, stateDescription(JobState::Errored));
        return;
    }
    ProgressBarPainter bar;
    bar.value = reading->value;
    bar.maximum = reading->maximum;
    bar.caption = reading->caption;
    bar.drawBar(painter, QRect(QPoint(cell.left() + 5, cell.top() + 8),
                               QPoint(cell.right() - 5, cell.top() + 15)));
    bar.drawCaption(painter,
                    QRect(QPoint(cell.left() + 5, cell.bottom() - cell.height() / 2),
                          QPoint(cell.right() - 5, cell.bottom())),
                    isSelected(option) ? Qt::white : Qt::black);
}

bool DownloadItem::isText(int column) const
{
    return column == DownloadColumns::Title || column == DownloadColumns::Information;
}

bool DownloadItem::helpEvent(QHelpEvent *event, QAbstractItemView *view,
                             const QStyleOptionViewItem &option, const QModelIndex &index)
{
    if (event->type() != QEvent::ToolTip)
        return QItemDelegate::helpEvent(event, view, option, index);
    m_tip = {view, index, event->globalPos(), QString()};
    showTip();
    m_tipTimer.start();
    return true;
}

QString DownloadItem::tip() const
{
    if (!m_tip.view || !m_tip.index.isValid())
        return QString();
    const QModelIndex index = m_tip.index;
    QStringList parts;
    const QString text = index.data().toString();
    // The margins are the base class's.
    const int margin = QApplication::style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1;
    const int room = m_tip.view->visualRect(index).width() - 2 * margin;
    if (isText(index.column()) && QFontMetrics(textFont()).size(0, text).width() > room)
        parts += text.trimmed();
    parts += index.data(Qt::ToolTipRole).toString();
    parts.removeAll(QString());
    return parts.isEmpty() ? QString() : inTip(parts.join(QLatin1Char('\n')));
}

void DownloadItem::showTip()
{
    m_tip.text = tip();
    QWidget *viewport = m_tip.view ? m_tip.view->viewport() : nullptr;
    QToolTip::showText(m_tip.place, m_tip.text, viewport,
                       viewport ? m_tip.view->visualRect(m_tip.index) : QRect());
}
