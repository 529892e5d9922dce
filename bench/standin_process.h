#pragma once

// The stand-in service as a process of its own, in a home of its own, and the environment that points
// whole programs at it, offscreen: what the benchmarks that start our programs share.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>
#include <cstdio>
#include <optional>

namespace brightloom::bench {

class StandInProcess
{
public:
    StandInProcess()
    {
        QDir(m_home.path()).mkpath(QStringLiteral("server"));
        QDir(m_home.path()).mkpath(QStringLiteral("runtime"));
        QFile::setPermissions(path("runtime"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_environment = QProcessEnvironment::systemEnvironment();
        m_environment.insert(QStringLiteral("HOME"), m_home.path());
        m_environment.insert(QStringLiteral("XDG_DATA_HOME"), path(".local/share"));
        m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path(".config"));
        m_environment.insert(QStringLiteral("XDG_CACHE_HOME"), path(".cache"));
        m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), path("runtime"));
        m_environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        // Nobody's keyring: the session stays in the home's own file.
        m_environment.insert(QStringLiteral("BRIGHTLOOM_SESSION_STORE"), QStringLiteral("file"));
    }
    ~StandInProcess()
    {
        m_server.terminate();
        m_server.waitForFinished();
    }
    StandInProcess(const StandInProcess&) = delete;
    StandInProcess& operator=(const StandInProcess&) = delete;

    // Starts the service (`devserver`, with `arguments` added) and signs in with the command line
    // `cli`, whose session every program started in environment() then shares.
    bool start(const QString& devserver, const QString& cli, const QStringList& arguments = {})
    {
        m_server.setProcessEnvironment(m_environment);
        // The service logs every request on its standard error; nobody reads it here.
        m_server.setStandardErrorFile(QProcess::nullDevice());
        m_server.start(devserver, QStringList{QStringLiteral("--data"), path("server"),
                                              QStringLiteral("--port"), QStringLiteral("0")} +
                                      arguments);
        if (!m_server.waitForStarted() || !m_server.waitForReadyRead(30'000)) {
            std::fprintf(stderr, "the stand-in service did not start\n");
            return false;
        }
        m_address = QString::fromUtf8(m_server.readLine()).trimmed();
        m_environment.insert(QStringLiteral("BRIGHTLOOM_URL"), m_address);
        m_environment.insert(QStringLiteral("BRIGHTLOOM_CA_FILE"), path("server/cert.pem"));
        return run(cli, {QStringLiteral("login"), QStringLiteral("--email"),
                         QStringLiteral("demo@brightloom.test"), QStringLiteral("--password"),
                         QStringLiteral("brightloom-demo")})
            .has_value();
    }

    const QProcessEnvironment& environment() const { return m_environment; }
    const QString& address() const { return m_address; }
    QString path(const char* relative) const { return m_home.filePath(QString::fromUtf8(relative)); }

    // Runs a program to its end in environment(); its standard output, or nothing when it failed.
    std::optional<QByteArray> run(const QString& program, const QStringList& arguments) const
    {
        QProcess process;
        process.setProcessEnvironment(m_environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(program, arguments);
        if (!process.waitForFinished(60'000) || process.exitStatus() != QProcess::NormalExit ||
            process.exitCode() != 0) {
            std::fprintf(stderr, "%s %s did not end well\n", qPrintable(program),
                         qPrintable(arguments.join(QLatin1Char(' '))));
            return std::nullopt;
        }
        return process.readAllStandardOutput();
    }

private:
    QTemporaryDir m_home;
    QProcessEnvironment m_environment;
    QProcess m_server;
    QString m_address;
};

} // namespace brightloom::bench
