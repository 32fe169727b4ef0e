#include "linklable.h"

#include "platform.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyleOptionFocusRect>
#include <QStylePainter>
#include <QUrl>

LinkLable::LinkLable(QWidget *parent, const QString &text, const QString &url)
    : QLabel(parent)
{
    setLink(text, url);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    setStyleSheet(QStringLiteral(" QLabel { color:blue;text-decoration:underline;}"));
}

void LinkLable::setLink(const QString &text, const QString &url)
{
    setText(text);
    m_url = url;
}

void LinkLable::follow()
{
    if (m_url.isEmpty())
        emit clicked();
    else
        platform::openUrl(QUrl(m_url, QUrl::TolerantMode));
}

void LinkLable::mouseReleaseEvent(QMouseEvent *event)
{
    // Who lets go elsewhere has thought better of it.
    if (rect().contains(event->pos()))
        follow();
}

void LinkLable::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        follow();
        return;
    default:
        QLabel::keyPressEvent(event);
    }
}

void LinkLable::paintEvent(QPaintEvent *event)
{
    QLabel::paintEvent(event);
    if (!hasFocus())
        return;
    QStylePainter painter(this);
    QStyleOptionFocusRect option;
    option.initFrom(this);
    option.rect = QRect(QPoint(0, 0), sizeHint().boundedTo(size()));
    painter.drawPrimitive(QStyle::PE_FrameFocusRect, option);
}
