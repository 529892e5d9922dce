// Stand-in for the image tool's resize: "sips -z HEIGHT WIDTH SOURCE --out TARGET" scales SOURCE to
// exactly WIDTH by HEIGHT pixels (smoothly, whatever the source's own size) and writes it as PNG.

#include <QByteArray>
#include <QImage>
#include <QString>
#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 7 || qstrcmp(argv[1], "-z") != 0 || qstrcmp(argv[5], "--out") != 0) {
        std::fprintf(stderr, "usage: sips -z pixelsH pixelsW SOURCE --out TARGET\n");
        return 1;
    }
    bool heightOk = false;
    bool widthOk = false;
    const int height = QByteArray(argv[2]).toInt(&heightOk);
    const int width = QByteArray(argv[3]).toInt(&widthOk);
    if (!heightOk || !widthOk || height <= 0 || width <= 0) {
        std::fprintf(stderr, "Error: bad size %s %s\n", argv[2], argv[3]);
        return 1;
    }
    const QImage image(QString::fromLocal8Bit(argv[4]));
    if (image.isNull()) {
        std::fprintf(stderr, "Error 4: no image found at %s\n", argv[4]);
        return 1;
    }
    const QImage scaled = image.scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    if (!scaled.save(QString::fromLocal8Bit(argv[6]), "PNG")) {
        std::fprintf(stderr, "Error: could not write %s\n", argv[6]);
        return 1;
    }
    std::printf("%s\n  %s\n", argv[4], argv[6]);
    return 0;
}
