#include "child_process.h"

#include "task_runner.h"

#include <QDir>
#include <stdexcept>

namespace brightloom::test {

ProcessResult runProcess(const QString& program, const QStringList& args, const QProcessEnvironment& env,
                         const QByteArray& input, std::chrono::milliseconds limit,
                         const std::function<void()>& whileWaiting)
{
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(program, args);
    ProcessResult result;
    if (!process.waitForStarted(10000)) {
        result.err = process.errorString();
        return result;
    }
    if (!input.isEmpty())
        process.write(input);
    process.closeWriteChannel();
    result.finished = spinUntil(
        [&] {
            if (process.state() == QProcess::NotRunning)
                return true;
            if (whileWaiting)
                whileWaiting();
            return false;
        },
        limit);
    if (!result.finished) {
        process.kill();
        process.waitForFinished(5000);
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    return result;
}

ProcessResult runCli(const QStringList& args, const QByteArray& input, std::chrono::milliseconds limit)
{
    return runProcess(QStringLiteral(BRIGHTLOOM_CLI_PATH), args, QProcessEnvironment::systemEnvironment(),
                      input, limit);
}

DevServer::DevServer(const QString& dataFolder, const QStringList& extraArgs)
    : m_data(dataFolder), m_process(std::make_unique<QProcess>())
{
    QDir().mkpath(dataFolder);
    QStringList args{QStringLiteral("--data"), dataFolder, QStringLiteral("--port"), QStringLiteral("0")};
    args += extraArgs;
    m_process->setProcessChannelMode(QProcess::SeparateChannels);
    m_process->start(QStringLiteral(BRIGHTLOOM_DEVSERVER_PATH), args);
    const bool gotLine =
        spinUntil([&] { return m_process->canReadLine() || m_process->state() == QProcess::NotRunning; },
                  std::chrono::seconds(30));
    const QByteArray line = m_process->readLine().trimmed();
    if (!gotLine || line.isEmpty())
        throw std::runtime_error("devserver did not start: " +
                                 m_process->readAllStandardError().toStdString());
    m_base = QUrl(QString::fromUtf8(line));
}

DevServer::~DevServer()
{
    if (m_process->state() != QProcess::NotRunning) {
        m_process->terminate();
        if (!m_process->waitForFinished(5000))
            m_process->kill();
        m_process->waitForFinished(5000);
    }
}

QString DevServer::caFile() const
{
    return m_data + QStringLiteral("/cert.pem");
}

} // namespace brightloom::test
