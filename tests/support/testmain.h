#pragma once

#include "sandbox.h"

#include <QApplication>
#include <QtTest>

#ifdef __SANITIZE_THREAD__
#include "tsan.h"

class TestApplication final : public QApplication
{
public:
    using QApplication::QApplication;
    bool notify(QObject *receiver, QEvent *event) override
    {
        const bool queuedCall = event->type() == QEvent::MetaCall;
        if (queuedCall)
            eventDelivered();
        const bool done = QApplication::notify(receiver, event);
        if (queuedCall)
            eventPosted(); // one who waits for the call to be over goes on after it
        return done;
    }
};
#else
using TestApplication = QApplication;
#endif

// A test that works inside the sandbox of its program.
class SandboxTest : public QObject
{
public:
    explicit SandboxTest(Sandbox &sandbox)
        : m_sandbox(sandbox)
    {
    }

protected:
    Sandbox &m_sandbox;
};

// main() of a test program: a sandbox around everything, then an application with the program's
// names, on whatever platform QT_QPA_PLATFORM says.
#define REELKEEPER_TEST_MAIN(TestClass)                                                            \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        Sandbox sandbox;                                                                           \
        TestApplication application(argc, argv);                                                   \
        application.setQuitOnLastWindowClosed(false);                                              \
        TestClass test(sandbox);                                                                   \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
