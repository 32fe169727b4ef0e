#include "fittexts.h"

#include <QAbstractButton>
#include <QFontInfo>
#include <QLabel>
#include <QPushButton>

static constexpr int margin = 4; // in pixels, at the edge of a form

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
    const int right = form->width() - widget->mapTo(form, QPoint(0, 0)).x() - margin;
    // What is above the capitals stays empty. A text is in the middle: what is too much of it is
    // missing below as well.
    const QFontMetrics font = widget->fontMetrics();
    const int height = font.size(0, text).height() - qMin(font.ascent() - font.capHeight(), 2);
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

// The toolkit mirrors what stands in a row, and the inside of everything: a box that reaches over
// the right edge of its form, where it has nothing to show, would have its tick there.
static void mirror(QWidget *form)
{
    const QRect seen = form->rect().adjusted(0, 0, -margin, 0);
    for (QObject *child : form->children()) {
        auto *widget = qobject_cast<QWidget *>(child);
        if (!widget || widget->isWindow())
            continue;
        QRect place = widget->geometry() & seen;
        place.moveLeft(form->width() - place.width() - place.x());
        widget->setGeometry(place);
        if (widget->metaObject() == &QWidget::staticMetaObject && !widget->layout())
            mirror(widget); // a frame around others
    }
}

void fitTexts(QWidget *form)
{
    form->ensurePolished();
    fitEach<QLabel>(form);
    fitEach<QAbstractButton>(form);
    if (form->isRightToLeft())
        mirror(form);
}
