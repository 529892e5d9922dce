#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Brightloom"));
    QApplication::setApplicationName(QStringLiteral("Brightloom"));
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Brightloom"));
    window.resize(1100, 720);
    window.show();
    return app.exec();
}
