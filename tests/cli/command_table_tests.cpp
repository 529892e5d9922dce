// The command table and what is made from it: the parser, the help, the manual pages and the
// completions, kept in step with each other.

#include "commandline/arguments.h"
#include "commandline/completion_scripts.h"
#include "commandline/help_text.h"
#include "commandline/manual_page.h"
#include "qt_printers.h"

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace brightloom::commandline;

namespace {

QString name(const char* text)
{
    return QString::fromUtf8(text);
}

// The words a command needs besides `extra`: each required positional, as the first of its choices
// or a plain word.
QStringList withRequiredPositionals(const CommandDescription& command, QStringList extra)
{
    QStringList words;
    for (const Positional& place : command.positionals) {
        if (place.optional)
            break;
        words.append(place.choices ? name(place.choices).section(QLatin1Char(' '), 0, 0)
                                   : QStringLiteral("x"));
    }
    return words + extra;
}

// `option` as a command line gives it, with a value when it takes one.
QStringList optionWords(const CommandDescription& command, const QString& option)
{
    const Option* described = findOption(command, option.mid(2).toUtf8().constData());
    if (described && described->value)
        return {option, QStringLiteral("1")};
    return {option};
}

struct ShellRun
{
    int status = -1;
    QString out;
};

ShellRun runShell(const QString& shell, const QStringList& args)
{
    QProcess process;
    process.start(shell, args);
    process.waitForFinished(30000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput())};
}

// What bash offers after `line` (the words typed so far, the last one being completed).
QStringList bashOffers(const QString& script, const QString& line)
{
    const QString words = line.endsWith(QLatin1Char(' ')) ? line + QStringLiteral("''") : line;
    const QString program = QStringLiteral("source '") + script + QStringLiteral("'\nCOMP_WORDS=(") + words +
                            QStringLiteral(")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_brightloom_cli\n"
                                           "printf '%s\\n' \"${COMPREPLY[@]}\"\n");
    const ShellRun run =
        runShell(QStringLiteral("bash"), {QStringLiteral("--norc"), QStringLiteral("-c"), program});
    EXPECT_EQ(run.status, 0) << program.toStdString();
    return run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QString writeScript(const QTemporaryDir& dir, const QString& fileName, const QString& text)
{
    const QString path = dir.filePath(fileName);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text.toUtf8());
    return path;
}

bool acceptedByTheParser(const CommandDescription& command, const QString& option, std::string& why)
{
    try {
        Arguments(command, withRequiredPositionals(command, optionWords(command, option)));
        return true;
    } catch (const UsageError& e) {
        why = e.what();
        return false;
    }
}

} // namespace

TEST(CommandTableTest, EveryCommandHasHelpTextAndAManualSection)
{
    const QString page = manualPage(cliProgram(), QStringLiteral("1.0"), QStringLiteral("November 2026"));
    for (const CommandDescription& command : cliProgram().commands) {
        SCOPED_TRACE(command.name);
        EXPECT_GT(qstrlen(command.summary), 0u);
        EXPECT_GT(qstrlen(command.description), 0u);
        EXPECT_FALSE(command.examples.empty());
        for (const Option& option : command.options)
            EXPECT_GT(qstrlen(option.help), 0u) << option.name;
        for (const Positional& place : command.positionals)
            EXPECT_GT(qstrlen(place.help), 0u) << place.name;
        const QString help = commandHelp(cliProgram(), command);
        EXPECT_TRUE(help.startsWith(QStringLiteral("usage: brightloom-cli ") + name(command.name)))
            << help.toStdString();
        EXPECT_TRUE(page.contains(QStringLiteral("\n.SS ") +
                                  name(command.name).replace(QLatin1Char('-'), QStringLiteral("\\-")) +
                                  QLatin1Char('\n')));
        EXPECT_TRUE(programHelp(cliProgram())
                        .contains(QStringLiteral("\n  ") + name(command.name) + QLatin1Char(' ')));
    }
    // The sections a reader looks for, and the commands the former page missed.
    for (const char* section :
         {".SH SYNOPSIS", ".SH COMMANDS", ".SH EXIT STATUS", ".SH ENVIRONMENT", ".SH FILES",
          ".SH SEE ALSO\n.BR brightloom (1)", "gallery use SLUG", "\\-\\-download"})
        EXPECT_TRUE(page.contains(name(section))) << section;
}

TEST(CommandTableTest, UsageLinesNameOnlyOptionsTheCommandTakes)
{
    const QRegularExpression optionPattern(QStringLiteral("--([a-z-]+)"));
    for (const CommandDescription& command : cliProgram().commands) {
        for (auto match = optionPattern.globalMatch(name(command.usage)); match.hasNext();) {
            const QString option = match.next().captured(1);
            EXPECT_TRUE(findOption(command, option.toUtf8().constData()))
                << command.name << " shows --" << option.toStdString() << " in its usage";
        }
        for (const Option& option : command.options) {
            EXPECT_TRUE(name(command.usage).contains(QStringLiteral("--") + name(option.name)))
                << command.name << " takes --" << option.name << " but its usage does not show it";
        }
    }
}

TEST(CommandTableTest, ManualPagesAreWellFormedRoff)
{
    const QString groff = QStandardPaths::findExecutable(QStringLiteral("groff"));
    if (groff.isEmpty())
        GTEST_SKIP() << "groff is not installed (scripts/setup installs groff-base)";
    QTemporaryDir dir;
    for (const ProgramDescription* program : {&cliProgram(), &windowProgram()}) {
        const QString page =
            writeScript(dir, name(program->name) + QStringLiteral(".1"),
                        manualPage(*program, QStringLiteral("1.0"), QStringLiteral("November 2026")));
        QProcess process;
        process.start(groff, {QStringLiteral("-man"), QStringLiteral("-ww"), QStringLiteral("-z"), page});
        ASSERT_TRUE(process.waitForFinished(30000));
        EXPECT_EQ(process.exitCode(), 0);
        EXPECT_EQ(process.readAllStandardError(), QByteArray()) << program->name;
    }
}

TEST(CommandTableTest, OptionValueAfterAnEqualsSignOrAsTheNextWordIsTheSame)
{
    const CommandDescription& follow = *findCommand(cliProgram(), "follow");
    const Arguments joined(follow, {QStringLiteral("p1"), QStringLiteral("--interval=1")});
    const Arguments apart(follow, {QStringLiteral("p1"), QStringLiteral("--interval"), QStringLiteral("1")});
    EXPECT_EQ(joined.option(QStringLiteral("interval")), QStringLiteral("1"));
    EXPECT_EQ(apart.option(QStringLiteral("interval")), QStringLiteral("1"));
    // A value that starts with dashes is still the value.
    const CommandDescription& login = *findCommand(cliProgram(), "login");
    const Arguments dashed(login, {QStringLiteral("--email"), QStringLiteral("a"),
                                   QStringLiteral("--password"), QStringLiteral("--browser")});
    EXPECT_EQ(dashed.option(QStringLiteral("password")), QStringLiteral("--browser"));
    EXPECT_FALSE(dashed.flag(QStringLiteral("browser")));
}

TEST(CommandTableTest, UnknownOptionsExtraWordsAndWordsOutsideTheirSetAreRefused)
{
    const CommandDescription& projects = *findCommand(cliProgram(), "projects");
    EXPECT_THROW(Arguments(projects, {QStringLiteral("foo"), QStringLiteral("bar")}), UsageError);
    EXPECT_THROW(Arguments(projects, {QStringLiteral("--favorites")}), UsageError);
    EXPECT_THROW(Arguments(projects, {QStringLiteral("--json=yes")}), UsageError);
    const CommandDescription& favorite = *findCommand(cliProgram(), "favorite");
    EXPECT_THROW(Arguments(favorite, {QStringLiteral("slug"), QStringLiteral("maybe")}), UsageError);
    EXPECT_THROW(Arguments(favorite, {QStringLiteral("slug")}), UsageError);
    EXPECT_NO_THROW(Arguments(favorite, {QStringLiteral("slug"), QStringLiteral("off")}));
    const CommandDescription& follow = *findCommand(cliProgram(), "follow");
    EXPECT_THROW(Arguments(follow, {QStringLiteral("p1"), QStringLiteral("--interval")}), UsageError);
}

TEST(CommandTableTest, HelpIsAskedByDashHOrDashDashHelpButNotAfterTheEndOfOptions)
{
    const CommandDescription& send = *findCommand(cliProgram(), "send");
    EXPECT_TRUE(Arguments(send, {QStringLiteral("-h")}).helpRequested());
    EXPECT_TRUE(Arguments(send, {QStringLiteral("p1"), QStringLiteral("--help"), QStringLiteral("extra"),
                                 QStringLiteral("words")})
                    .helpRequested());
    const Arguments text(send, {QStringLiteral("p1"), QStringLiteral("--"), QStringLiteral("--help")});
    EXPECT_FALSE(text.helpRequested());
    EXPECT_EQ(text.positional(1, "text"), QStringLiteral("--help"));
}

TEST(CommandTableTest, EveryOptionTheBashCompletionOffersIsAcceptedByTheParser)
{
    QTemporaryDir dir;
    const QString script =
        writeScript(dir, QStringLiteral("brightloom-cli.bash"), bashCompletion(cliProgram()));
    QStringList commands = bashOffers(script, QStringLiteral("brightloom-cli "));
    commands.removeAll(QStringLiteral("--help"));
    commands.removeAll(QStringLiteral("--version"));
    QStringList expected;
    for (const CommandDescription& command : cliProgram().commands)
        expected.append(name(command.name));
    EXPECT_EQ(commands, expected);
    for (const CommandDescription& command : cliProgram().commands) {
        const QStringList offered = bashOffers(script, QStringLiteral("brightloom-cli ") +
                                                           name(command.name) + QStringLiteral(" --"));
        EXPECT_EQ(offered.size(), qsizetype(command.options.size()) + 1) << command.name;
        for (const QString& option : offered) {
            std::string why;
            EXPECT_TRUE(acceptedByTheParser(command, option, why))
                << command.name << ' ' << option.toStdString() << ": " << why;
        }
    }
    // The options the former hand-written completion offered and the parser refused.
    EXPECT_FALSE(bashOffers(script, QStringLiteral("brightloom-cli new --import-"))
                     .contains(QStringLiteral("--import-repo")));
    EXPECT_FALSE(
        bashOffers(script, QStringLiteral("brightloom-cli show --")).contains(QStringLiteral("--favorites")));
}

TEST(CommandTableTest, BashCompletesEachPlaceWithItsOwnWordsAndNothingWhileAValueIsTyped)
{
    QTemporaryDir dir;
    const QString script =
        writeScript(dir, QStringLiteral("brightloom-cli.bash"), bashCompletion(cliProgram()));
    EXPECT_EQ(bashOffers(script, QStringLiteral("brightloom-cli favorite pomodoro ")),
              (QStringList{QStringLiteral("on"), QStringLiteral("off")}));
    EXPECT_EQ(bashOffers(script, QStringLiteral("brightloom-cli github p1 --json u")),
              QStringList{QStringLiteral("unlink")});
    EXPECT_EQ(bashOffers(script, QStringLiteral("brightloom-cli help wo")),
              QStringList{QStringLiteral("worker-status")});
    EXPECT_TRUE(bashOffers(script, QStringLiteral("brightloom-cli follow p1 --interval ")).isEmpty());
    // bash splits "--interval=5" into three words; the place after it is still the second.
    EXPECT_EQ(bashOffers(script, QStringLiteral("brightloom-cli gallery --interval = 5 u")),
              QStringList{QStringLiteral("use")});
}

TEST(CommandTableTest, EveryOptionTheFishCompletionOffersIsAcceptedByTheParser)
{
    const QString fish = QStandardPaths::findExecutable(QStringLiteral("fish"));
    if (fish.isEmpty())
        GTEST_SKIP() << "fish is not installed (scripts/setup installs it)";
    QTemporaryDir dir;
    const QString script =
        writeScript(dir, QStringLiteral("brightloom-cli.fish"), fishCompletion(cliProgram()));
    for (const CommandDescription& command : cliProgram().commands) {
        const QString query = QStringLiteral("brightloom-cli ") + name(command.name) + QStringLiteral(" --");
        const ShellRun run =
            runShell(fish, {QStringLiteral("--no-config"), QStringLiteral("-c"),
                            QStringLiteral("source '") + script + QStringLiteral("'; complete -C '") + query +
                                QStringLiteral("'")});
        ASSERT_EQ(run.status, 0);
        QStringList offered;
        for (const QString& line : run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            offered.append(line.section(QLatin1Char('\t'), 0, 0));
        EXPECT_EQ(offered.size(), qsizetype(command.options.size()) + 1)
            << command.name << ": " << offered.join(QLatin1Char(' ')).toStdString();
        for (const QString& option : offered) {
            std::string why;
            EXPECT_TRUE(acceptedByTheParser(command, option, why))
                << command.name << ' ' << option.toStdString() << ": " << why;
        }
    }
}

TEST(CommandTableTest, EveryOptionTheZshCompletionOffersIsAcceptedByTheParser)
{
    const QString script = zshCompletion(cliProgram());
    const QString zsh = QStandardPaths::findExecutable(QStringLiteral("zsh"));
    if (!zsh.isEmpty()) {
        QTemporaryDir dir;
        const ShellRun syntax = runShell(
            zsh, {QStringLiteral("-n"), writeScript(dir, QStringLiteral("_brightloom-cli"), script)});
        EXPECT_EQ(syntax.status, 0);
    }
    // Each command's case holds its _arguments entries, one per line.
    for (const CommandDescription& command : cliProgram().commands) {
        const QString head = QStringLiteral("\n        ") + name(command.name) + QStringLiteral(")\n");
        const qsizetype start = script.indexOf(head);
        ASSERT_GE(start, 0) << command.name;
        const QString body = script.mid(start, script.indexOf(QStringLiteral(";;"), start) - start);
        const QRegularExpression entry(QStringLiteral("'(?:\\(- \\*\\))?(--[a-z-]+)=?\\["));
        QStringList offered;
        for (auto match = entry.globalMatch(body); match.hasNext();)
            offered.append(match.next().captured(1));
        EXPECT_EQ(offered.size(), qsizetype(command.options.size()) + 1) << command.name;
        for (const QString& option : offered) {
            std::string why;
            EXPECT_TRUE(acceptedByTheParser(command, option, why))
                << command.name << ' ' << option.toStdString();
        }
    }
}
