#include "test_environment.h"

#include <QGuiApplication>
#include <gtest/gtest.h>

// Every test binary runs its tests inside one Qt application, so coroutines, sockets, timers and
// child processes have an event loop to run on.
int main(int argc, char** argv)
{
    brightloom::test::enterTestEnvironment();
    QGuiApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Brightloom"));
    QCoreApplication::setApplicationName(QStringLiteral("Brightloom"));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
