#pragma once

#include "sandbox.h"

#include <QApplication>
#include <QtTest>

// main() of a test program: a sandbox around everything, then an application with the program's
// names, on whatever platform QT_QPA_PLATFORM says.
#define REELKEEPER_TEST_MAIN(TestClass)                                                            \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        Sandbox sandbox;                                                                           \
        QApplication application(argc, argv);                                                      \
        application.setQuitOnLastWindowClosed(false);                                              \
        TestClass test(sandbox);                                                                   \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
