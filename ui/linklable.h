#pragma once

#include <QLabel>
#include <QString>

// A label that opens an address when it is clicked, or by Enter or Space while it has the focus.
class LinkLable final : public QLabel
{
    Q_OBJECT
    Q_DISABLE_COPY(LinkLable)

public:
    explicit LinkLable(QWidget *parent, const QString &text = QString(),
                       const QString &url = QString());
    void setLink(const QString &text, const QString &url);

signals:
    void clicked(); // instead of opening, while there is no address

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void follow();

    QString m_url;
};
