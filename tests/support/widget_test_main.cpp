#include "test_environment.h"

#include <QApplication>
#include <gtest/gtest.h>

// Widget tests run inside one widget application on the offscreen platform, with the Fusion style
// so that sizes do not depend on the desktop's theme.
int main(int argc, char** argv)
{
    brightloom::test::enterTestEnvironment();
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Brightloom"));
    QCoreApplication::setApplicationName(QStringLiteral("Brightloom"));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
