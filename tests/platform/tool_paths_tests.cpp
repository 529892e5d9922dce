#include "platform/tool_paths.h"

#include <gtest/gtest.h>
#include <optional>

using namespace brightloom;

namespace {

// Sets BRIGHTLOOM_TOOLS_DIR for one test and puts the old value back.
class ToolsDir
{
public:
    explicit ToolsDir(const QByteArray& value)
    {
        if (qEnvironmentVariableIsSet("BRIGHTLOOM_TOOLS_DIR"))
            m_old = qgetenv("BRIGHTLOOM_TOOLS_DIR");
        if (value.isNull())
            qunsetenv("BRIGHTLOOM_TOOLS_DIR");
        else
            qputenv("BRIGHTLOOM_TOOLS_DIR", value);
    }
    ~ToolsDir()
    {
        if (m_old)
            qputenv("BRIGHTLOOM_TOOLS_DIR", *m_old);
        else
            qunsetenv("BRIGHTLOOM_TOOLS_DIR");
    }

private:
    std::optional<QByteArray> m_old;
};

const char* const tools[] = {"xcrun", "codesign",          "sips", "iconutil",
                             "file",  "install_name_tool", "git",  "open"};

} // namespace

TEST(ToolPaths, EveryToolLivesInUsrBinByDefault)
{
    ToolsDir unset{QByteArray()};
    for (const char* tool : tools)
        EXPECT_EQ(toolPath(QString::fromLatin1(tool)), QStringLiteral("/usr/bin/") + QLatin1String(tool));
}

TEST(ToolPaths, ToolsDirReplacesTheFolder)
{
    ToolsDir set("/opt/stand-ins");
    for (const char* tool : tools)
        EXPECT_EQ(toolPath(QString::fromLatin1(tool)),
                  QStringLiteral("/opt/stand-ins/") + QLatin1String(tool));
}

TEST(ToolPaths, TrailingSlashOfToolsDirIsNotDoubled)
{
    ToolsDir set("/opt/stand-ins/");
    EXPECT_EQ(toolPath(QStringLiteral("git")), QStringLiteral("/opt/stand-ins/git"));
}

TEST(ToolPaths, EmptyToolsDirMeansTheDefault)
{
    ToolsDir set("");
    EXPECT_EQ(toolPath(QStringLiteral("git")), QStringLiteral("/usr/bin/git"));
}
