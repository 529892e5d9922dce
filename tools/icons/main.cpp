// Draws the program's icon from the logo mark into a hicolor icon theme folder:
//   brightloom_icons OUT   writes OUT/hicolor/<n>x<n>/apps/app.brightloom.Brightloom.png

#include "ui/shared/logo_mark.h"

#include <QDir>
#include <QGuiApplication>
#include <cstdio>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: brightloom_icons OUT\n");
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    for (const int side : {16, 24, 32, 48, 64, 128, 256, 512}) {
        const QString folder = QStringLiteral("%1/hicolor/%2x%2/apps").arg(out).arg(side);
        if (!QDir().mkpath(folder) || !brightloom::ui::LogoMark::image(side).save(
                                          folder + QStringLiteral("/app.brightloom.Brightloom.png"))) {
            std::fprintf(stderr, "could not write the %dx%d icon\n", side, side);
            return 1;
        }
    }
    return 0;
}
