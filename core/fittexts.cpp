#include "fittexts.h"

#include <QAbstractButton>
#include <QFontInfo>
#include <QLabel>
#include <QPushButton>

// The width of a text with what belongs to it: the box before it, the rim of a button around it.
static int neededWidth(const QWidget *widget, const QString &text)
{
    constexpr int rim = 6;
    if (qobject_cast<const QPushButton *>(widget)) // its hint is no narrower than buttons look good
        return widget->fontMetrics().size(Qt::TextShowMnemonic, text).width() + 2 * rim;
    return widget->sizeHint().width();
}

static bool fits(const QWidget *widget, const QString &text, const QWidget *form)
{
    constexpr int margin = 4;
    const int right = form->width() - widget->mapTo(form, QPoint(0, 0)).x() - margin;
    // What is above the capitals stays empty.
    const QFontMetrics font = widget->fontMetrics();
    const int height = font.size(0, text).height() - font.ascent() + font.capHeight();
    return neededWidth(widget, text) <= qMin(widget->width(), right) && height <= widget->height();
}

template <typename Widget>
static void fitEach(QWidget *form)
{
    constexpr qreal smallest = 6;
    for (Widget *widget : form->findChildren<Widget *>()) {
        qreal size = QFontInfo(widget->font()).pointSizeF();
        for (; !widget->text().isEmpty() && size > smallest && !fits(widget, widget->text(), form);
             size -= 0.5) {
            QFont font = widget->font();
            font.setPointSizeF(size - 0.5);
            widget->setFont(font);
        }
    }
}

void fitTexts(QWidget *form)
{
    form->ensurePolished();
    fitEach<QLabel>(form);
    fitEach<QAbstractButton>(form);
}
