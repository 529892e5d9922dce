#include "local_builds.h"
#include "text/characters.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>

namespace brightloom {

namespace {

constexpr qsizetype groupSize = 3;      // an error line and the two after it
constexpr qsizetype fallbackLines = 30; // taken from the end when no line says "error:"
constexpr qsizetype textLimit = 3200;

// The lines of `text`, split at line feeds, empty ones included.
QList<QByteArrayView> splitLines(const QByteArray& text)
{
    QList<QByteArrayView> lines;
    qsizetype start = 0;
    for (;;) {
        const qsizetype end = text.indexOf('\n', start);
        if (end < 0) {
            lines.append(QByteArrayView(text).sliced(start));
            return lines;
        }
        lines.append(QByteArrayView(text).sliced(start, end - start));
        start = end + 1;
    }
}

} // namespace

QString LocalBuilds::fixPrompt(const QByteArray& errors, const QString& dir)
{
    // The output stays UTF-8 until the lines to send are picked: it may be hundreds of megabytes.
    // The service knows the project by its own relative paths, not by where this machine keeps it;
    // compilers may print either the folder as given or with its links resolved.
    QByteArray text = errors;
    text.replace(QByteArray(QFile::encodeName(dir) + '/'), QByteArray());
    const QString resolved = QFileInfo(dir).canonicalFilePath();
    if (!resolved.isEmpty())
        text.replace(QByteArray(QFile::encodeName(resolved) + '/'), QByteArray());

    const QList<QByteArrayView> lines = splitLines(text);
    QList<QByteArrayView> picked;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (!lines[i].contains("error:"))
            continue;
        for (qsizetype j = i; j < std::min(i + groupSize, lines.size()); ++j)
            picked.append(lines[j]);
    }
    if (picked.isEmpty())
        picked = lines.mid(std::max<qsizetype>(0, lines.size() - fallbackLines));

    QByteArray joined;
    for (qsizetype i = 0; i < picked.size(); ++i) {
        if (i > 0)
            joined += '\n';
        joined += picked[i];
    }
    QString body = QString::fromUtf8(joined);
    // Characters as a person counts them, so the cut never splits one; a text of no more code units
    // than the limit holds no more characters either.
    if (body.size() > textLimit) {
        const QString kept = text::firstCharacters(body, textLimit);
        if (kept.size() < body.size())
            body = kept + QStringLiteral("\n\u2026");
    }

    return QStringLiteral(
               "The release build failed when compiled on the user's Mac with swift build. Fix these "
               "errors in the existing project, change nothing else, and do not tell me about this "
               "message in your reply:\n\n") +
           body;
}

} // namespace brightloom
