// Draws the program's icon from the logo mark:
//   brightloom_icons OUT         writes OUT/hicolor/<n>x<n>/apps/app.brightloom.Brightloom.png
//   brightloom_icons --icns FILE writes a Mac icon file with every size a Mac asks for

#include "icns.h"
#include "ui/shared/logo_mark.h"

#include <QBuffer>
#include <QDir>
#include <QGuiApplication>
#include <QSaveFile>
#include <cstdio>

namespace {

QByteArray png(int side)
{
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    brightloom::ui::LogoMark::image(side).save(&buffer, "PNG");
    return data;
}

int writeTheme(const QString& out)
{
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

int writeIcns(const QString& path)
{
    QList<brightloom::icons::IcnsEntry> entries;
    for (const auto& size : brightloom::icons::icnsSizes)
        entries.append({QByteArray(size.type), png(size.pixels)});
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(brightloom::icons::icnsFile(entries)) < 0 ||
        !file.commit()) {
        std::fprintf(stderr, "could not write %s\n", qPrintable(path));
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments().mid(1);
    if (arguments.size() == 1 && !arguments[0].startsWith(QLatin1Char('-')))
        return writeTheme(arguments[0]);
    if (arguments.size() == 2 && arguments[0] == QLatin1String("--icns"))
        return writeIcns(arguments[1]);
    std::fprintf(stderr, "usage: brightloom_icons OUT | brightloom_icons --icns FILE\n");
    return 2;
}
