#include "localbuild/asset_fetch.h"
#include "localbuild/asset_set.h"
#include "localbuild/rejected.h"
#include "pipeline_fixture.h"
#include "service/api_error.h"
#include "task_runner.h"
#include "text/characters.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QMutex>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

// Assets come from real repositories made by the test, served by Debian's git over file:// with
// partial clone allowed; a git in the tools folder sends "https://github.com/" there and writes
// each call (working folder, git settings, arguments) to git.log.
class Assets : public PipelineTest
{
protected:
    Assets()
    {
        QDir().mkpath(work(QStringLiteral("repos")));
        QDir().mkpath(project());
        const QString wrapper = toolsFolder() + QStringLiteral("/git");
        QFile::remove(wrapper);
        writeFile(wrapper,
                  "#!/bin/sh\n"
                  "printf '%s|%s,%s,%s|%s\\n' \"$(pwd)\" \"$GIT_TERMINAL_PROMPT\" \"$GIT_CONFIG_NOSYSTEM\" "
                  "\"$GIT_CONFIG_GLOBAL\" \"$*\" >> \"$(dirname \"$0\")/git.log\"\n"
                  "export GIT_CONFIG_COUNT=1\n"
                  "export GIT_CONFIG_KEY_0='url.file://" +
                      work(QStringLiteral("repos/")).toUtf8() +
                      ".insteadOf'\n"
                      "export GIT_CONFIG_VALUE_0='https://github.com/'\n"
                      "exec /usr/bin/git \"$@\"\n");
        QFile::setPermissions(wrapper, QFile::permissions(wrapper) | QFile::ExeOwner);
    }

    QString project() const { return work(QStringLiteral("project")); }
    QString assets(const QString& relative = {}) const
    {
        return project() + QStringLiteral("/.assets") +
               (relative.isEmpty() ? QString() : QLatin1Char('/') + relative);
    }
    QStringList gitCalls() const
    {
        return QString::fromUtf8(readFile(toolsFolder() + QStringLiteral("/git.log")))
            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    static int git(const QString& dir, const QStringList& arguments)
    {
        QString output;
        const int code = runTool(QStringLiteral("/usr/bin/git"),
                                 QStringList() << QStringLiteral("-c") << QStringLiteral("user.name=Test")
                                               << QStringLiteral("-c")
                                               << QStringLiteral("user.email=test@example.org") << arguments,
                                 dir, &output);
        if (code != 0)
            ADD_FAILURE() << "git " << arguments.join(QLatin1Char(' ')).toStdString() << ": "
                          << output.toStdString();
        return code;
    }

    // Makes the repository "https://github.com/<slug>" with `files` (path to content; a content
    // starting with "->" makes a symbolic link to the rest) on its main branch, and `tagged` on a
    // second commit tagged "v2" on the branch "next".
    void repository(const QString& slug, const QMap<QString, QByteArray>& files,
                    const QMap<QString, QByteArray>& tagged = {})
    {
        const QString source = work(QStringLiteral("sources/") + slug);
        QDir().mkpath(source);
        git(source, QStringList() << QStringLiteral("init") << QStringLiteral("-q") << QStringLiteral("-b")
                                  << QStringLiteral("main"));
        const auto put = [&](const QMap<QString, QByteArray>& content) {
            for (auto it = content.cbegin(); it != content.cend(); ++it) {
                const QString path = source + QLatin1Char('/') + it.key();
                if (it.value().startsWith("->")) {
                    QDir().mkpath(QFileInfo(path).absolutePath());
                    QFile::link(QString::fromUtf8(it.value().mid(2)), path);
                } else {
                    writeFile(path, it.value());
                }
            }
            git(source, QStringList() << QStringLiteral("add") << QStringLiteral("-A"));
            git(source, QStringList() << QStringLiteral("commit") << QStringLiteral("-q")
                                      << QStringLiteral("-m") << QStringLiteral("files"));
        };
        put(files);
        if (!tagged.isEmpty()) {
            git(source, QStringList() << QStringLiteral("checkout") << QStringLiteral("-q")
                                      << QStringLiteral("-b") << QStringLiteral("next"));
            put(tagged);
            git(source, QStringList() << QStringLiteral("tag") << QStringLiteral("v2"));
            git(source, QStringList()
                            << QStringLiteral("checkout") << QStringLiteral("-q") << QStringLiteral("main"));
        }
        const QString bare = work(QStringLiteral("repos/") + slug);
        QDir().mkpath(QFileInfo(bare).absolutePath());
        git(work(QString()), QStringList() << QStringLiteral("clone") << QStringLiteral("-q")
                                           << QStringLiteral("--bare") << source << bare);
        git(bare, QStringList() << QStringLiteral("config") << QStringLiteral("uploadpack.allowFilter")
                                << QStringLiteral("true"));
        git(bare, QStringList() << QStringLiteral("config") << QStringLiteral("uploadpack.allowAnySHA1InWant")
                                << QStringLiteral("true"));
    }

    void declare(const QByteArray& json) { writeFile(project() + QStringLiteral("/assets.json"), json); }

    // Runs fetchAssets on the project; answers the failure's text ("" when it succeeded).
    QString fetch()
    {
        const auto fetched = run(LocalBuild::fetchAssets(project(),
                                                         [this](const QString& line) {
                                                             QMutexLocker lock(&m_mutex);
                                                             m_log += line;
                                                         }),
                                 std::chrono::seconds(90));
        EXPECT_TRUE(fetched.finished);
        return fetched.errorText();
    }

    // The files under a folder, relative to it, sorted.
    static QStringList filesUnder(const QString& folder)
    {
        QStringList files;
        QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (it.hasNext())
            files.append(it.next().mid(folder.size() + 1));
        files.sort();
        return files;
    }

    QMutex m_mutex;
    QString m_log;
};

QMap<QString, QByteArray> files(std::initializer_list<std::pair<QString, QByteArray>> list)
{
    QMap<QString, QByteArray> map;
    for (const auto& [path, content] : list)
        map.insert(path, content);
    return map;
}

const QString refused = QStringLiteral("Refused to build this source: ");

TEST_F(Assets, NoDeclarationLeavesTheAssetsFolderAsItWas)
{
    writeFile(assets(QStringLiteral("old.bin")), "old");
    EXPECT_EQ(fetch(), QString());
    EXPECT_EQ(readFile(assets(QStringLiteral("old.bin"))), "old");
    EXPECT_TRUE(m_log.isEmpty());
    EXPECT_TRUE(gitCalls().isEmpty());
}

TEST_F(Assets, FetchesOnlyTheDeclaredPathsWithAShallowSparseClone)
{
    repository(QStringLiteral("acme/models"),
               files({{QStringLiteral("models/weights.bin"), QByteArray(2'500'000, 'w')},
                      {QStringLiteral("models/vocab/words.txt"), "hello"},
                      {QStringLiteral("docs/manual.txt"), "manual"},
                      {QStringLiteral("README.md"), "readme"}}));
    writeFile(assets(QStringLiteral("old.bin")), "old");
    declare(R"([{"repo": "https://github.com/acme/models", "paths": ["models"], "licence": "ignored"}])");

    EXPECT_EQ(fetch(), QString());
    EXPECT_EQ(filesUnder(assets()), QStringList() << QStringLiteral("models/models/vocab/words.txt")
                                                  << QStringLiteral("models/models/weights.bin"));
    EXPECT_EQ(readFile(assets(QStringLiteral("models/models/vocab/words.txt"))), "hello");
    EXPECT_EQ(m_log, QStringLiteral(
                         "Downloading assets from https://github.com/acme/models\nAssets ready (2 MB)\n"));
    EXPECT_FALSE(QFileInfo::exists(project() + QStringLiteral("/.assets-src0")));

    const QString workingCopy = project() + QStringLiteral("/.assets-src0");
    const QStringList calls = gitCalls();
    ASSERT_EQ(calls.size(), 3);
    EXPECT_TRUE(calls[0].endsWith(QStringLiteral("|0,1,/dev/null|clone --quiet --depth 1 --filter=blob:none "
                                                 "--no-checkout --sparse https://github.com/acme/models ") +
                                  workingCopy))
        << calls[0].toStdString();
    EXPECT_EQ(calls[1],
              workingCopy + QStringLiteral("|0,1,/dev/null|sparse-checkout set --no-cone -- /models"));
    EXPECT_EQ(calls[2], workingCopy + QStringLiteral("|0,1,/dev/null|checkout --quiet"));
}

TEST_F(Assets, RefIsFetchedAndCheckedOut)
{
    repository(QStringLiteral("acme/data"), files({{QStringLiteral("data/set.csv"), "one"}}),
               files({{QStringLiteral("data/set.csv"), "two"}}));
    declare(
        R"([{"repo": "https://github.com/acme/data", "ref": "v2", "paths": ["data/set.csv"], "to": "sets"}])");

    EXPECT_EQ(fetch(), QString());
    EXPECT_EQ(readFile(assets(QStringLiteral("sets/data/set.csv"))), "two");
    const QString workingCopy = project() + QStringLiteral("/.assets-src0");
    const QStringList calls = gitCalls();
    ASSERT_EQ(calls.size(), 5);
    EXPECT_EQ(calls[1],
              workingCopy +
                  QStringLiteral("|0,1,/dev/null|fetch --quiet --depth 1 --filter=blob:none origin v2"));
    EXPECT_EQ(calls[2], workingCopy + QStringLiteral("|0,1,/dev/null|checkout --quiet --detach FETCH_HEAD"));
    EXPECT_EQ(calls[3],
              workingCopy + QStringLiteral("|0,1,/dev/null|sparse-checkout set --no-cone -- /data/set.csv"));
    EXPECT_EQ(calls[4], workingCopy + QStringLiteral("|0,1,/dev/null|checkout --quiet --detach FETCH_HEAD"));
}

TEST_F(Assets, SixEntriesAreRefusedBeforeAnyDownload)
{
    writeFile(assets(QStringLiteral("old.bin")), "old");
    QByteArray json = "[";
    for (int i = 0; i < 6; ++i)
        json += QByteArray(i ? "," : "") + R"({"repo": "https://github.com/acme/r)" + QByteArray::number(i) +
                R"(", "paths": ["a"]})";
    declare(json + "]");
    EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json lists too many repositories"));
    EXPECT_TRUE(gitCalls().isEmpty());
    EXPECT_EQ(readFile(assets(QStringLiteral("old.bin"))), "old");
}

TEST_F(Assets, EmptyListRemakesTheAssetsFolderAndReportsZero)
{
    writeFile(assets(QStringLiteral("old.bin")), "old");
    declare("[]");
    EXPECT_EQ(fetch(), QString());
    EXPECT_TRUE(QFileInfo(assets()).isDir());
    EXPECT_TRUE(QDir(assets()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    EXPECT_EQ(m_log, QStringLiteral("Assets ready (0 MB)\n"));
    EXPECT_TRUE(gitCalls().isEmpty());
}

TEST_F(Assets, AddressThatIsNotAGitHubRepositoryIsRefused)
{
    for (const char* repo : {"https://github.com/acme/models/", "http://github.com/acme/models",
                             "https://github.com/acme/models/tree", "https://gitlab.com/acme/models",
                             "https://github.com/acme"}) {
        declare(R"([{"repo": ")" + QByteArray(repo) + R"(", "paths": ["a"]}])");
        EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json: ") + QString::fromLatin1(repo) +
                               QStringLiteral(" is not a GitHub repository"));
    }
    EXPECT_TRUE(gitCalls().isEmpty());
}

TEST_F(Assets, UnsafePathsAreRefusedAndPlainOnesPass)
{
    for (const char* path : {"../x", "/abs", "-flag", ".git/config", ".github/workflows", "a/../../b"}) {
        declare(R"([{"repo": "https://github.com/acme/models", "paths": ["models", ")" + QByteArray(path) +
                R"("]}])");
        EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json: bad path ") + QString::fromLatin1(path));
    }
    declare(R"([{"repo": "https://github.com/acme/models", "paths": ["models/weights.bin", "a\nb"]}])");
    EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json: bad path a\nb"));
    EXPECT_TRUE(gitCalls().isEmpty());

    repository(QStringLiteral("acme/models"), files({{QStringLiteral("models/weights.bin"), "w"}}));
    declare(R"([{"repo": "https://github.com/acme/models", "paths": ["models/weights.bin"]}])");
    EXPECT_EQ(fetch(), QString());
    EXPECT_EQ(readFile(assets(QStringLiteral("models/models/weights.bin"))), "w");
}

TEST_F(Assets, SixtyPathsPassButSixtyOneOrNoneAreRefused)
{
    QMap<QString, QByteArray> content;
    QByteArray sixty;
    for (int i = 0; i < 60; ++i) {
        content.insert(QStringLiteral("f%1.txt").arg(i), QByteArray::number(i));
        sixty += QByteArray(i ? "," : "") + "\"f" + QByteArray::number(i) + ".txt\"";
    }
    content.insert(QStringLiteral("other.txt"), "not declared");
    repository(QStringLiteral("acme/many"), content);

    declare(R"([{"repo": "https://github.com/acme/many", "paths": [)" + sixty + ", \"f60.txt\"]}]");
    EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json: bad path list"));
    declare(R"([{"repo": "https://github.com/acme/many", "paths": []}])");
    EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json: bad path list"));
    EXPECT_TRUE(gitCalls().isEmpty());

    declare(R"([{"repo": "https://github.com/acme/many", "paths": [)" + sixty + "]}]");
    EXPECT_EQ(fetch(), QString());
    EXPECT_EQ(filesUnder(assets(QStringLiteral("many"))).size(), 60);
    EXPECT_FALSE(QFileInfo::exists(assets(QStringLiteral("many/other.txt"))));
}

TEST_F(Assets, HiddenFolderNameIsRefusedAndTheDefaultKeepsDotGit)
{
    declare(R"([{"repo": "https://github.com/acme/models", "paths": ["a"], "to": ".hidden"}])");
    EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json: bad folder name"));
    declare(R"([{"repo": "https://github.com/acme/models", "paths": ["a"], "to": "a/b"}])");
    EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json: bad folder name"));

    repository(QStringLiteral("owner/model.git"), files({{QStringLiteral("weights/w.bin"), "w"}}));
    declare(R"([{"repo": "https://github.com/owner/model.git", "paths": ["weights"]}])");
    EXPECT_EQ(fetch(), QString());
    EXPECT_EQ(readFile(assets(QStringLiteral("model.git/weights/w.bin"))), "w");
}

TEST_F(Assets, LongRefOrRefStartingWithADashIsRefused)
{
    declare(R"([{"repo": "https://github.com/acme/models", "ref": ")" + QByteArray(81, 'a') +
            R"(", "paths": ["a"]}])");
    EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json: bad ref"));
    declare(R"([{"repo": "https://github.com/acme/models", "ref": "-upload-pack=x", "paths": ["a"]}])");
    EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json: bad ref"));
    declare(R"([{"repo": "https://github.com/acme/models", "ref": "", "paths": ["a"]}])");
    EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json: bad ref"));
    EXPECT_TRUE(gitCalls().isEmpty());
}

TEST_F(Assets, AddressRefOrFolderNameEndingInANewlineIsRefused)
{
    declare(R"([{"repo": "https://github.com/acme/models\n", "paths": ["a"]}])");
    EXPECT_EQ(fetch(),
              refused + QStringLiteral("assets.json: https://github.com/acme/models\n is not a GitHub "
                                       "repository"));
    declare(R"([{"repo": "https://github.com/acme/models", "ref": "main\n", "paths": ["a"]}])");
    EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json: bad ref"));
    declare(R"([{"repo": "https://github.com/acme/models", "paths": ["a"], "to": "models\n"}])");
    EXPECT_EQ(fetch(), refused + QStringLiteral("assets.json: bad folder name"));
    EXPECT_TRUE(gitCalls().isEmpty());
}

TEST_F(Assets, AssetsOverTheSizeLimitAreRefusedPartWay)
{
    // 52,428,800 + 52,428,800 + 52,428,801 = 157,286,401 bytes: whichever comes last crosses the limit.
    repository(QStringLiteral("acme/huge"),
               files({{QStringLiteral("big/a.bin"), QByteArray(52'428'800, '\0')},
                      {QStringLiteral("big/b.bin"), QByteArray(52'428'800, '\0')},
                      {QStringLiteral("big/c.bin"), QByteArray(52'428'801, '\0')}}));
    declare(R"([{"repo": "https://github.com/acme/huge", "paths": ["big"]}])");
    EXPECT_EQ(fetch(), refused + QStringLiteral("assets are larger than 157 MB"));
    EXPECT_EQ(filesUnder(assets(QStringLiteral("huge"))).size(), 2) << "what came before the limit stays";
    EXPECT_FALSE(QFileInfo::exists(project() + QStringLiteral("/.assets-src0")));
    EXPECT_FALSE(m_log.contains(QStringLiteral("Assets ready")));
}

TEST_F(Assets, SymbolicLinkIsNotCopied)
{
    repository(QStringLiteral("acme/linked"), files({{QStringLiteral("data/real.txt"), "real"},
                                                     {QStringLiteral("data/alias.txt"), "->real.txt"},
                                                     {QStringLiteral("data/outside"), "->/etc"}}));
    declare(R"([{"repo": "https://github.com/acme/linked", "paths": ["data"]}])");
    EXPECT_EQ(fetch(), QString());
    EXPECT_EQ(filesUnder(assets(QStringLiteral("linked"))), QStringList() << QStringLiteral("data/real.txt"));
    EXPECT_FALSE(QFileInfo(assets(QStringLiteral("linked/data/alias.txt"))).isSymLink());
}

TEST_F(Assets, FailedGitStepQuotesTheEndOfItsOutputAndStopsTheRest)
{
    repository(QStringLiteral("acme/first"), files({{QStringLiteral("x/one.txt"), "one"}}));
    declare(R"([{"repo": "https://github.com/acme/first", "paths": ["x"]},
                {"repo": "https://github.com/acme/missing", "paths": ["x"]},
                {"repo": "https://github.com/acme/first", "paths": ["x"], "to": "again"}])");
    const QString text = fetch();
    const QString start = QStringLiteral("Could not download assets from https://github.com/acme/missing: ");
    EXPECT_TRUE(text.startsWith(start)) << text.toStdString();
    EXPECT_GT(text.size(), start.size());
    EXPECT_LE(text.size(), start.size() + 200);
    EXPECT_TRUE(text.contains(QStringLiteral("does not appear to be a git repository")) ||
                text.contains(QStringLiteral("not found")))
        << text.toStdString();
    EXPECT_EQ(readFile(assets(QStringLiteral("first/x/one.txt"))), "one") << "earlier entries stay";
    EXPECT_FALSE(QFileInfo::exists(assets(QStringLiteral("again"))));
    EXPECT_FALSE(QFileInfo::exists(project() + QStringLiteral("/.assets-src1")));
    EXPECT_EQ(m_log, QStringLiteral("Downloading assets from https://github.com/acme/first\n"
                                    "Downloading assets from https://github.com/acme/missing\n"));
}

TEST_F(Assets, FailedGitStepQuotesItsLastTwoHundredCharactersWhole)
{
    // A git that fails naming a folder written in several scripts: every character of the name takes
    // more than one code unit (an accent written as a combining mark, an emoji with a skin tone, a
    // flag, emoji joined into one), so a cut by code units or code points lands inside one.
    const QStringList kinds{QStringLiteral("e\u0301"), QStringLiteral("\U0001F44D\U0001F3FD"),
                            QStringLiteral("\U0001F1EB\U0001F1F7"),
                            QStringLiteral("\U0001F469\u200D\U0001F4BB"), QStringLiteral("o\u0308\u0301")};
    QStringList characters; // what git writes, one character at a time
    const auto letters = [&characters](const QString& plain) {
        for (const QChar letter : plain)
            characters.append(letter);
    };
    letters(QStringLiteral("fatal: could not create work tree dir '"));
    for (int i = 0; i < 300; ++i)
        characters.append(kinds[i % kinds.size()]);
    letters(QStringLiteral("': No space left on device\n"));
    const QString said = characters.join(QString());
    writeFile(toolsFolder() + QStringLiteral("/git-said"), said.toUtf8());
    const QString wrapper = toolsFolder() + QStringLiteral("/git");
    QFile::remove(wrapper);
    writeFile(wrapper, "#!/bin/sh\ncat \"$(dirname \"$0\")/git-said\" >&2\nexit 128\n");
    QFile::setPermissions(wrapper, QFile::permissions(wrapper) | QFile::ExeOwner);
    declare(R"([{"repo": "https://github.com/acme/models", "paths": ["models"]}])");

    const QString text = fetch();
    const QString start = QStringLiteral("Could not download assets from https://github.com/acme/models: ");
    ASSERT_TRUE(text.startsWith(start)) << text.toStdString();
    const QString quoted = text.mid(start.size());
    EXPECT_EQ(text::characterCount(quoted), 200);
    EXPECT_GT(quoted.size(), 200) << "characters, not code units, are counted";
    EXPECT_TRUE(said.endsWith(quoted)) << "the quote is the end of what git wrote";
    ASSERT_FALSE(quoted.isEmpty());
    EXPECT_FALSE(quoted.front().isLowSurrogate());
    EXPECT_FALSE(quoted.front().isMark());
    EXPECT_NE(quoted.front(), QChar(0x200D));
    // Exactly the last two hundred characters, the first of them whole.
    QStringList last = characters;
    last.remove(0, characters.size() - 200);
    EXPECT_EQ(quoted, last.join(QString()));
}

TEST_F(Assets, GitThatRunsPastItsLimitFailsTheEntry)
{
    repository(QStringLiteral("acme/slow"), files({{QStringLiteral("x/one.txt"), "one"}}));
    const QString wrapper = toolsFolder() + QStringLiteral("/git");
    QFile::rename(wrapper, toolsFolder() + QStringLiteral("/git-fast"));
    // The request reaches the whole group, the sleep included, which may be gone before the trap.
    writeFile(wrapper,
              "#!/bin/sh\nsleep 30 &\ntrap 'kill $! 2>/dev/null; echo stopped; exit 143' TERM\nwait\n");
    QFile::setPermissions(wrapper, QFile::permissions(wrapper) | QFile::ExeOwner);
    declare(R"([{"repo": "https://github.com/acme/slow", "paths": ["x"]}])");
    LocalBuild::Limits limits;
    limits.gitClone = 0.5;
    const auto fetched = run(LocalBuild::fetchAssets(project(), {}, limits));
    ASSERT_TRUE(fetched.finished);
    EXPECT_EQ(fetched.errorText(),
              QStringLiteral("Could not download assets from https://github.com/acme/slow: stopped\n"));
}

TEST_F(Assets, MalformedDeclarationIsADecodingError)
{
    declare(R"([{"repo": "https://github.com/acme/models"}])");
    EXPECT_EQ(fetch(), QStringLiteral("assets.json could not be read: \"paths\" is missing in entry 0"));
    declare(R"([{"repo": "https://github.com/acme/models", "paths": "models"}])");
    EXPECT_EQ(fetch(), QStringLiteral("assets.json could not be read: \"paths\" is not an array in entry 0"));
    declare(R"({"repo": "https://github.com/acme/models"})");
    EXPECT_EQ(fetch(), QStringLiteral("assets.json could not be read: it is not an array"));
    declare(R"([{"repo": "https://github.com/acme/models", "paths": ["a"],)");
    EXPECT_EQ(fetch(), QStringLiteral("assets.json could not be read: it is not JSON"));
    declare(R"([{"repo": "https://github.com/acme/models", "paths": ["a"], "ref": 5}])");
    EXPECT_EQ(fetch(), QStringLiteral("assets.json could not be read: \"ref\" is not a string in entry 0"));
}

} // namespace
