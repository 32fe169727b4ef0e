#pragma once

#include <QColor>
#include <QRect>
#include <QString>

class QPainter;

// Draws a bar of two shaded bands and a caption. Made afresh for every cell.
class ProgressBarPainter final
{
public:
    // Two colours of a vertical gradient, the first row's and the last row's.
    struct Band
    {
        QColor first;
        QColor last;
    };

    double minimum = 0;
    double maximum = 100;
    double value = 0;
    QColor frame{220, 222, 226};
    Band upperBackground{QColor(249, 249, 250), QColor(244, 244, 246)};
    Band lowerBackground{QColor(224, 225, 227), QColor(244, 245, 246)};
    Band upperFill{QColor(150, 199, 242), QColor(138, 191, 239)};
    Band lowerFill{QColor(115, 175, 219), QColor(152, 217, 255)};
    QString caption;

    void drawBar(QPainter *painter, const QRect &bar) const;
    void drawCaption(QPainter *painter, const QRect &area, const QColor &color) const;
};
