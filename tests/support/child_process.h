#pragma once

// Running the project's programs as real child processes from a test.

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <chrono>
#include <functional>
#include <memory>

namespace brightloom::test {

struct ProcessResult
{
    int exitCode = -1;
    bool finished = false;
    QString out;
    QString err;
};

// Runs `program` to its end (the event loop keeps running meanwhile), feeding `input` on stdin.
// `whileWaiting`, when given, is called again and again until the program ends.
ProcessResult runProcess(const QString& program, const QStringList& args, const QProcessEnvironment& env,
                         const QByteArray& input = {},
                         std::chrono::milliseconds limit = std::chrono::seconds(60),
                         const std::function<void()>& whileWaiting = {});

// brightloom-cli with the given arguments, in the environment of this test process.
ProcessResult runCli(const QStringList& args, const QByteArray& input = {},
                     std::chrono::milliseconds limit = std::chrono::seconds(60));

// A brightloom-devserver running for the life of this object, on a free port, with its own data
// folder; `caFile` is its certificate, to trust through BRIGHTLOOM_CA_FILE.
class DevServer
{
public:
    explicit DevServer(const QString& dataFolder, const QStringList& extraArgs = {});
    ~DevServer();
    DevServer(const DevServer&) = delete;
    DevServer& operator=(const DevServer&) = delete;

    QUrl baseUrl() const { return m_base; }
    QString caFile() const;
    QString dataFolder() const { return m_data; }
    QProcess& process() { return *m_process; }

private:
    QString m_data;
    std::unique_ptr<QProcess> m_process;
    QUrl m_base;
};

} // namespace brightloom::test
