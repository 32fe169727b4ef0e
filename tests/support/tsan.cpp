// ThreadSanitizer does not see inside the toolkit, so it does not know that an event is delivered
// after it was posted, nor that a mutex somebody had to wait for was unlocked before. The linker
// puts these in place of the functions that post an event for us and of the slow halves of the
// mutex
// (--wrap in CMakeLists.txt); TestApplication does the other half where an event is delivered.
#include "tsan.h"

#include <QObject>

extern "C" {
void __tsan_acquire(void *address);
void __tsan_release(void *address);

void __real__ZN11QMetaObject8activateEP7QObjectPKS_iPPv(QObject *sender, const QMetaObject *meta,
                                                        int signal, void **arguments);
void __wrap__ZN11QMetaObject8activateEP7QObjectPKS_iPPv(QObject *sender, const QMetaObject *meta,
                                                        int signal, void **arguments)
{
    eventPosted();
    __real__ZN11QMetaObject8activateEP7QObjectPKS_iPPv(sender, meta, signal, arguments);
}

using SlotObject = QtPrivate::QSlotObjectBase;
bool __real__ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv(
    QObject *object, SlotObject *slot, Qt::ConnectionType type, void *result);
bool __wrap__ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv(
    QObject *object, SlotObject *slot, Qt::ConnectionType type, void *result)
{
    eventPosted();
    const bool done =
        __real__ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv(
            object, slot, type, result);
    eventDelivered(); // a blocking call has come back
    return done;
}

#define LOCKS(name)                                                                                \
    void __real_##name(void *mutex);                                                               \
    void __wrap_##name(void *mutex)                                                                \
    {                                                                                              \
        __real_##name(mutex);                                                                      \
        __tsan_acquire(mutex);                                                                     \
    }
#define UNLOCKS(name)                                                                              \
    void __real_##name(void *mutex);                                                               \
    void __wrap_##name(void *mutex)                                                                \
    {                                                                                              \
        __tsan_release(mutex);                                                                     \
        __real_##name(mutex);                                                                      \
    }
LOCKS(_ZN11QBasicMutex12lockInternalEv)
LOCKS(_ZN6QMutex4lockEv)
UNLOCKS(_ZN11QBasicMutex14unlockInternalEv)
UNLOCKS(_ZN6QMutex6unlockEv)
}

static char eventQueues;

void eventPosted()
{
    __tsan_release(&eventQueues);
}

void eventDelivered()
{
    __tsan_acquire(&eventQueues);
}
