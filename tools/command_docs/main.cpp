// Writes what is made from the command tables, for installing: the two manual pages and the command
// line's bash, zsh and fish completions.
//   brightloom_command_docs OUTPUT_FOLDER VERSION "MONTH YEAR"

#include "commandline/completion_scripts.h"
#include "commandline/manual_page.h"

#include <QDir>
#include <QSaveFile>
#include <QString>
#include <cstdio>

namespace {

bool write(const QString& path, const QString& text)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(text.toUtf8());
    return file.commit();
}

} // namespace

int main(int argc, char** argv)
{
    using namespace brightloom::commandline;
    if (argc != 4) {
        std::fprintf(stderr, "usage: brightloom_command_docs OUTPUT_FOLDER VERSION \"MONTH YEAR\"\n");
        return 2;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    const QString version = QString::fromLocal8Bit(argv[2]);
    const QString date = QString::fromLocal8Bit(argv[3]);
    if (!folder.mkpath(QStringLiteral(".")))
        return 1;
    const bool written =
        write(folder.filePath(QStringLiteral("brightloom-cli.1")), manualPage(cliProgram(), version, date)) &&
        write(folder.filePath(QStringLiteral("brightloom.1")), manualPage(windowProgram(), version, date)) &&
        write(folder.filePath(QStringLiteral("brightloom-cli.bash")), bashCompletion(cliProgram())) &&
        write(folder.filePath(QStringLiteral("_brightloom-cli")), zshCompletion(cliProgram())) &&
        write(folder.filePath(QStringLiteral("brightloom-cli.fish")), fishCompletion(cliProgram()));
    if (!written) {
        std::fprintf(stderr, "brightloom_command_docs: cannot write into %s\n", argv[1]);
        return 1;
    }
    return 0;
}
