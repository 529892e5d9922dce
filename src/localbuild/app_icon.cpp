#include "app_icon.h"

#include "platform/tool_paths.h"
#include "process_runner.h"
#include "service/api_error.h"
#include "text/characters.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QTextBoundaryFinder>
#include <QtConcurrent/QtConcurrentRun>
#include <exception>
#include <qcoro/qcorofuture.h>

namespace brightloom::LocalBuild {

namespace {

// The letter is set in DejaVu Sans Bold from the system's fonts-dejavu-core, so that the same name
// gives the same picture on every machine, whatever fonts the desktop prefers.
const char* const letterFontFile = "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf";

QFont letterFont()
{
    static const QString family = [] {
        const int id = QFontDatabase::addApplicationFont(QString::fromLatin1(letterFontFile));
        const QStringList families = id < 0 ? QStringList() : QFontDatabase::applicationFontFamilies(id);
        return families.value(0);
    }();
    QFont font = family.isEmpty() ? QFontDatabase::systemFont(QFontDatabase::GeneralFont) : QFont(family);
    font.setPixelSize(520);
    font.setWeight(QFont::Bold);
    return font;
}

// The pictures of an icon set: each size at 1x and at 2x, as pixels and file path.
QList<std::pair<int, QString>> iconSetFiles(const QString& set)
{
    QList<std::pair<int, QString>> files;
    for (const int size : {16, 32, 128, 256, 512}) {
        const QString base =
            set + QStringLiteral("/icon_") + QString::number(size) + QLatin1Char('x') + QString::number(size);
        files.append({size, base + QStringLiteral(".png")});
        files.append({size * 2, base + QStringLiteral("@2x.png")});
    }
    return files;
}

} // namespace

int letterIconPalette(const QString& name)
{
    quint32 hash = 7;
    for (const char32_t scalar : name.toUcs4())
        hash = hash * 31u + quint32(scalar);
    return int(hash % 4u);
}

std::pair<QColor, QColor> letterIconGradient(int index)
{
    static const double colours[4][2][3] = {
        {{0.545, 0.361, 0.965}, {0.263, 0.22, 0.792}},
        {{0.984, 0.573, 0.235}, {0.863, 0.149, 0.149}},
        {{0.204, 0.827, 0.6}, {0.059, 0.463, 0.431}},
        {{0.22, 0.741, 0.973}, {0.114, 0.306, 0.847}},
    };
    const auto& entry = colours[index & 3];
    return {QColor::fromRgbF(float(entry[0][0]), float(entry[0][1]), float(entry[0][2])),
            QColor::fromRgbF(float(entry[1][0]), float(entry[1][1]), float(entry[1][2]))};
}

QString letterIconText(const QString& name)
{
    // Walk whole characters (a letter with its combining marks stays one), judged by their first
    // code point's Unicode properties.
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, name);
    qsizetype start = 0;
    for (qsizetype end = characters.toNextBoundary(); end > 0; end = characters.toNextBoundary()) {
        const QString character = name.mid(start, end - start);
        const char32_t first = character.toUcs4().value(0);
        if (QChar::isLetter(first) || QChar::isNumber(first))
            return character.toUpper();
        start = end;
    }
    return QStringLiteral("A");
}

void drawLetterIcon(const QString& name, const QString& to)
{
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        throw APIError(QStringLiteral("Could not draw the icon."));
    QImage canvas(1024, 1024, QImage::Format_ARGB32_Premultiplied);
    if (canvas.isNull())
        throw APIError(QStringLiteral("Could not draw the icon."));
    canvas.fill(Qt::transparent);
    {
        QPainter painter(&canvas);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::TextAntialiasing);

        // The canvas is square and the tile centred, so the tile is the same from either corner;
        // only the gradient's direction needs care: start colour at the top.
        const QRectF tile(100, 100, 824, 824);
        QPainterPath path;
        path.addRoundedRect(tile, 185, 185);
        const auto [top, bottom] = letterIconGradient(letterIconPalette(name));
        QLinearGradient gradient(tile.center().x(), tile.top(), tile.center().x(), tile.bottom());
        gradient.setColorAt(0, top);
        gradient.setColorAt(1, bottom);
        painter.fillPath(path, gradient);

        // The text's line box (its advance by its ascent plus descent) is centred on the tile.
        const QString letter = letterIconText(name);
        const QFont font = letterFont();
        const QFontMetricsF metrics(font, &canvas);
        const double width = metrics.horizontalAdvance(letter);
        const double height = metrics.ascent() + metrics.descent();
        const QPointF centre = tile.center();
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(QPointF(centre.x() - width / 2, centre.y() - height / 2 + metrics.ascent()), letter);
    }
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!canvas.save(&buffer, "PNG") || png.isEmpty())
        throw APIError(QStringLiteral("Could not draw the icon."));
    QFile file(to);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(png) != png.size())
        throw FileError(QStringLiteral("Could not write the icon %1: %2").arg(to, file.errorString()));
}

namespace {

// A plain function, not a coroutine: GCC 12 miscompiles a lambda in a coroutine body that captures
// the coroutine's parameters.
QFuture<std::exception_ptr> startDrawingLetterIcon(const QString& name, const QString& to)
{
    return QtConcurrent::run([name, to]() -> std::exception_ptr {
        try {
            drawLetterIcon(name, to);
            return nullptr;
        } catch (...) {
            return std::current_exception();
        }
    });
}

} // namespace

QCoro::Task<> drawLetterIconInBackground(QString name, QString to)
{
    // Painting into an image (text included) is safe on any thread once the GUI application
    // exists; a full-size icon takes tens of milliseconds, a few frames of the window's time.
    const std::exception_ptr failure = co_await startDrawingLetterIcon(name, to);
    if (failure)
        std::rethrow_exception(failure);
}

// An empty icon set folder, made anew on the thread pool; answers whether it could be made.
QFuture<bool> startMakingIconSet(QString set)
{
    return QtConcurrent::run([set = std::move(set)] {
        QDir(set).removeRecursively();
        return QDir().mkpath(set);
    });
}

QCoro::Task<> makeIcns(QString png, QString into, QString scratch, Limits limits)
{
    const QString set = QDir(scratch).filePath(QStringLiteral("AppIcon.iconset"));
    const bool made = co_await startMakingIconSet(set);
    if (!made)
        throw FileError(QStringLiteral("Could not create the folder %1.").arg(set));

    for (const auto& [size, file] : iconSetFiles(set)) {
        const QString pixels = QString::number(size);
        QStringList arguments;
        arguments << QStringLiteral("-z") << pixels << pixels << png << QStringLiteral("--out") << file;
        // A failed resize is not reported by itself: the packer then misses a picture and fails.
        co_await run(toolPath(QStringLiteral("sips")), arguments, std::nullopt, limits.until(limits.resize));
    }

    QStringList arguments;
    arguments << QStringLiteral("-c") << QStringLiteral("icns") << set << QStringLiteral("-o") << into;
    const Output packed = co_await run(toolPath(QStringLiteral("iconutil")), arguments, std::nullopt,
                                       limits.until(limits.packIcon));
    if (packed.code != 0)
        throw APIError(QStringLiteral("Could not make the app icon: ") +
                       text::lastCharacters(packed.text(), 200));
}

} // namespace brightloom::LocalBuild
