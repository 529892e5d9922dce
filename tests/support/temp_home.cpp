#include "temp_home.h"

#include <QDir>

namespace brightloom::test {

TempHome::TempHome()
{
    const QString home = m_dir.path();
    QDir(home).mkpath(QStringLiteral(".config"));
    QDir(home).mkpath(QStringLiteral(".local/share"));
    QDir(home).mkpath(QStringLiteral("Downloads"));
    setEnv("HOME", home.toUtf8());
    setEnv("XDG_CONFIG_HOME", (home + QStringLiteral("/.config")).toUtf8());
    setEnv("XDG_DATA_HOME", (home + QStringLiteral("/.local/share")).toUtf8());
    setEnv("XDG_CACHE_HOME", (home + QStringLiteral("/.cache")).toUtf8());
    setEnv("XDG_DOWNLOAD_DIR", (home + QStringLiteral("/Downloads")).toUtf8());
}

TempHome::~TempHome()
{
    for (auto it = m_saved.crbegin(); it != m_saved.crend(); ++it) {
        if (it->second)
            qputenv(it->first.constData(), *it->second);
        else
            qunsetenv(it->first.constData());
    }
}

void TempHome::setEnv(const char* name, const QByteArray& value)
{
    std::optional<QByteArray> old;
    if (qEnvironmentVariableIsSet(name))
        old = qgetenv(name);
    m_saved.append({QByteArray(name), old});
    qputenv(name, value);
}

QString TempHome::dataFolder() const
{
    return m_dir.path() + QStringLiteral("/.local/share/Brightloom");
}

QString TempHome::downloadsFolder() const
{
    return m_dir.path() + QStringLiteral("/Downloads");
}

QProcessEnvironment TempHome::environment() const
{
    return QProcessEnvironment::systemEnvironment();
}

} // namespace brightloom::test
