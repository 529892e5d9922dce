#include "local_builds.h"
#include "text/characters.h"

#include <QFileInfo>
#include <QStringList>

namespace brightloom {

namespace {

constexpr qsizetype groupSize = 3;      // an error line and the two after it
constexpr qsizetype fallbackLines = 30; // taken from the end when no line says "error:"
constexpr qsizetype textLimit = 3200;

} // namespace

QString LocalBuilds::fixPrompt(const QString& errors, const QString& dir)
{
    // The service knows the project by its own relative paths, not by where this machine keeps it;
    // compilers may print either the folder as given or with its links resolved.
    QString text = errors;
    text.replace(dir + QLatin1Char('/'), QString());
    const QString resolved = QFileInfo(dir).canonicalFilePath();
    if (!resolved.isEmpty())
        text.replace(resolved + QLatin1Char('/'), QString());

    const QStringList lines = text.split(QLatin1Char('\n'));
    QStringList picked;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (!lines[i].contains(QLatin1String("error:")))
            continue;
        for (qsizetype j = i; j < std::min(i + groupSize, lines.size()); ++j)
            picked.append(lines[j]);
    }
    if (picked.isEmpty())
        picked = lines.mid(std::max<qsizetype>(0, lines.size() - fallbackLines));

    QString body = picked.join(QLatin1Char('\n'));
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
