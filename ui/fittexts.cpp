#include "fittexts.h"

#include <QAbstractButton>
#include <QLabel>
#include <QVector>

#include <algorithm>

static bool fits(const QWidget *text, const QWidget *form)
{
    const int margin = 4;
    const int right = form->width() - text->mapTo(form, QPoint(0, 0)).x() - margin;
    return text->sizeHint().width() <= qMin(text->width(), right);
}

void fitTexts(QWidget *form)
{
    const qreal smallest = 6;
    form->ensurePolished();
    qreal size = form->font().pointSizeF();
    QVector<QWidget *> texts;
    for (QLabel *label : form->findChildren<QLabel *>()) {
        const bool heading = label->font().pointSizeF() > size;
        if (!label->text().isEmpty() && !heading)
            texts << label;
    }
    for (QAbstractButton *button : form->findChildren<QAbstractButton *>()) {
        if (!button->text().isEmpty())
            texts << button;
    }
    const auto fitting = [form](const QWidget *text) { return fits(text, form); };
    while (size > smallest && !std::all_of(texts.cbegin(), texts.cend(), fitting)) {
        size -= 0.5;
        // One by one: under a style sheet a form's font does not reach its children.
        for (QWidget *text : qAsConst(texts)) {
            QFont font = text->font();
            font.setPointSizeF(size);
            text->setFont(font);
        }
    }
}
