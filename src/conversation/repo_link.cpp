#include "repo_link.h"

#include "platform/dialogs.h"

#include <QRegularExpression>
#include <QSet>

namespace brightloom {

const QString RepoLink::host = QStringLiteral("github.com");
const QString RepoLink::hostAddress = QStringLiteral("https://github.com");

namespace {

const QRegularExpression& linkPattern()
{
    // No word boundary: the link is found anywhere, even right after other letters.
    static const QRegularExpression pattern(
        QStringLiteral(R"((?:https?://)?(?:www\.)?github\.com/([A-Za-z0-9][A-Za-z0-9-]{0,38})/)"
                       R"(([A-Za-z0-9._-]{1,100})(?:/tree/([A-Za-z0-9][A-Za-z0-9._/-]{0,99}))?)"),
        QRegularExpression::CaseInsensitiveOption);
    return pattern;
}

QString withoutTrailing(QString text, QStringView characters)
{
    qsizetype end = text.size();
    while (end > 0 && characters.contains(text[end - 1]))
        --end;
    text.truncate(end);
    return text;
}

} // namespace

std::optional<RepoLink> RepoLink::detect(QStringView text)
{
    std::optional<RepoLink> first;
    QSet<QString> keys;
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    // Qt 6.5 named the overload for views apart and deprecated the old spelling for them.
    auto matches = linkPattern().globalMatchView(text);
#else
    auto matches = linkPattern().globalMatch(text);
#endif
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const QString owner = match.captured(1);
        QString name = match.captured(2);
        if (name.endsWith(QStringLiteral(".git")))
            name.chop(4);
        name = withoutTrailing(name, u".");
        if (name.isEmpty() || name == QStringLiteral(".") || name == QStringLiteral(".."))
            continue;

        std::optional<QString> ref;
        if (match.capturedStart(3) >= 0) {
            const QString cleaned = withoutTrailing(match.captured(3), u"./");
            if (!cleaned.isEmpty() && !cleaned.contains(QStringLiteral("..")))
                ref = cleaned;
        }

        const QString key = (owner + QLatin1Char('/') + name).toLower();
        if (keys.contains(key))
            continue; // the first spelling, with its ref, wins
        keys.insert(key);
        if (!first)
            first = RepoLink{hostAddress + QLatin1Char('/') + owner + QLatin1Char('/') + name, ref, name, 1};
    }
    if (first)
        first->distinct = int(keys.size());
    return first;
}

RepoLink::Choice RepoLink::confirm(Dialogs& dialogs) const
{
    Alert alert;
    alert.style = Alert::Style::warning;
    alert.message = QStringLiteral("Build from the GitHub repo ") + name + QLatin1Char('?');
    alert.informativeText =
        QStringLiteral("The cloud rewrites that project's code into a new app, then your Mac compiles it "
                       "with Xcode and you can run it. Neither step reviews the code for you, so only "
                       "continue if you trust the repository's owner. The app will be marked unsafe and "
                       "can't be shared as a template.\n\nOr build without importing: the link is then "
                       "just text in your request.");
    alert.buttons = {QStringLiteral("Import and build"), QStringLiteral("Build without importing"),
                     QStringLiteral("Cancel")};
    const std::optional<int> answer = dialogs.ask(alert);
    if (answer == 0)
        return Choice::importAndBuild;
    if (answer == 1)
        return Choice::buildWithoutImporting;
    return Choice::cancel;
}

} // namespace brightloom
