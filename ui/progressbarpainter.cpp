#include "progressbarpainter.h"

#include <QFontMetrics>
#include <QLinearGradient>
#include <QPainter>

#include <algorithm>

namespace {

// The gradient runs between the middles of the outer rows, so that these show its end colours.
void fillBand(QPainter *painter, const QRect &rows, const ProgressBarPainter::Band &band)
{
    QLinearGradient gradient(0, rows.top() + 0.5, 0, rows.bottom() + 0.5);
    gradient.setColorAt(0, band.first);
    gradient.setColorAt(1, band.last);
    painter->fillRect(rows, gradient);
}

} // namespace

void ProgressBarPainter::drawBar(QPainter *painter, const QRect &bar) const
{
    const int half = (bar.bottom() - bar.top()) / 2;
    QRect upper(bar.left(), bar.top() + 1, bar.width(), half);
    QRect lower(bar.left(), bar.top() + 1 + half, bar.width(), half);

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    fillBand(painter, upper, upperBackground);
    fillBand(painter, lower, lowerBackground);
    // Filled edges instead of a stroked rectangle: antialiasing spreads a one-pixel stroke on whole
    // coordinates over two pixels.
    painter->fillRect(bar.left(), bar.top(), bar.width(), 1, frame);
    painter->fillRect(bar.left(), bar.bottom(), bar.width(), 1, frame);
    painter->fillRect(bar.left(), bar.top(), 1, bar.height(), frame);
    painter->fillRect(bar.right(), bar.top(), 1, bar.height(), frame);

    const double shown = std::max(minimum, std::min(value, maximum));
    const int filled = int(bar.width() * (shown - minimum) / (maximum - minimum));
    if (filled > 0) {
        upper.setWidth(filled);
        lower.setWidth(filled);
        fillBand(painter, upper, upperFill);
        fillBand(painter, lower, lowerFill);
    }
    painter->restore();
}

void ProgressBarPainter::drawCaption(QPainter *painter, const QRect &area,
                                     const QColor &color) const
{
    painter->save();
    painter->setFont(QFont(QStringLiteral("Arial"), 9));
    painter->setPen(color);
    painter->drawText(area, Qt::AlignLeft | Qt::AlignTop | Qt::AlignAbsolute,
                      painter->fontMetrics().elidedText(caption, Qt::ElideRight, area.width()));
    painter->restore();
}
