#include "fittexts.h"

#include <QCheckBox>
#include <QLabel>

static void fitText(QWidget *widget)
{
    const qreal smallest = 6;
    const int right = widget->parentWidget()->width() - 4;
    const int room = qMin(widget->width(), right - widget->x());
    QFont font = widget->font();
    while (font.pointSizeF() > smallest && widget->sizeHint().width() > room) {
        font.setPointSizeF(font.pointSizeF() - 0.5);
        widget->setFont(font);
    }
}

void fitTexts(QWidget *form)
{
    form->ensurePolished();
    for (QLabel *label : form->findChildren<QLabel *>()) {
        if (!label->text().isEmpty())
            fitText(label);
    }
    for (QCheckBox *box : form->findChildren<QCheckBox *>())
        fitText(box);
}
