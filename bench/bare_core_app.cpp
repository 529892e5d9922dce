// The yardstick of the command line's start-up: a program that makes a QCoreApplication, prints one
// line and ends, as `brightloom-cli session` does around its one request.

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    std::puts("signed out");
    return 0;
}
