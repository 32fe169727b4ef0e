#include "addressintake.h"

#include "exitcontrol.h"
#include "jobnotifications.h"

#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMimeData>
#include <QShortcut>
#include <QWidget>

AddressIntake::AddressIntake(const Surroundings &surroundings, QWidget *window)
    : m_exit(surroundings.exit)
    , m_notifications(surroundings.notifications)
    , m_window(window)
    , m_newDownload(surroundings.dialog, &surroundings.manager, &surroundings.downloadList, window)
    , m_clipboardWatch(*QGuiApplication::clipboard(),
                       {surroundings.dialog.info, surroundings.dialog.options,
                        [this] { return moment(); },
                        [this](const QString &address) { open(address); }})
{
    window->setAcceptDrops(true);
    window->installEventFilter(this);
    const auto *paste = new QShortcut(QKeySequence(QKeySequence::Paste), window);
    connect(paste, &QShortcut::activated, this, [this] {
        if (const QMimeData *copied = QGuiApplication::clipboard()->mimeData())
            openLater(m_clipboardWatch.addressIn(*copied));
    });
}

void AddressIntake::open(const QString &url)
{
    if (m_notifications.isCountingDown())
        return;
    // Where an address is only seen with the focus the window is in front, or just about to be.
    if (platform::clipboardNeedsFocus())
        m_exit.cameBack();
    else if (m_window->isVisible())
        m_exit.comeForward();
    m_newDownload.run(url);
}

ClipboardWatch::Moment AddressIntake::moment() const
{
    if (m_newDownload.isOpen() || m_exit.exiting())
        return ClipboardWatch::Moment::Drop;
    return m_notifications.isCountingDown() ? ClipboardWatch::Moment::Keep
                                            : ClipboardWatch::Moment::Offer;
}

bool AddressIntake::eventFilter(QObject *window, QEvent *event)
{
    switch (event->type()) {
    case QEvent::DragEnter:
        judgeDrag(static_cast<QDropEvent *>(event));
        return true;
    case QEvent::DragMove: // accepted or not as when it entered: to look again takes its time
        return true;
    case QEvent::Drop: {
        auto *drop = static_cast<QDropEvent *>(event);
        if (judgeDrag(drop))
            openLater(m_clipboardWatch.addressIn(*drop->mimeData()));
        return true;
    }
    default:
        return QObject::eventFilter(window, event);
    }
}

// A move would take the address away from where it comes from.
bool AddressIntake::judgeDrag(QDropEvent *event) const
{
    for (const Qt::DropAction action : {Qt::CopyAction, Qt::LinkAction}) {
        if (event->possibleActions().testFlag(action) &&
            !m_clipboardWatch.addressIn(*event->mimeData()).isEmpty()) {
            event->setDropAction(action);
            event->accept();
            return true;
        }
    }
    event->ignore();
    return false;
}

// Not while the one from whom it comes waits for the end of the drop.
void AddressIntake::openLater(const QString &address)
{
    if (address.isEmpty())
        return;
    QMetaObject::invokeMethod(
        this,
        [this, address] {
            if (moment() == ClipboardWatch::Moment::Offer)
                open(address);
        },
        Qt::QueuedConnection);
}
