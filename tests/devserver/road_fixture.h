#pragma once

// The command-line client against a real brightloom-devserver: each test gets its own data folder,
// its own home (so its own cookies and Downloads folder), and a control client that steps the
// server's job clock and lines up faults. The server's clock is slowed to an hour per step, so a
// job only moves when the test says so.

#include "child_process.h"
#include "devserver_client.h"
#include "temp_home.h"

#include <QJsonObject>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

namespace brightloom::test {

class RoadTest : public ::testing::Test
{
protected:
    void SetUp() override;

    // Starts (or restarts) the server on the same data folder and points the CLI at it.
    void startServer(const QStringList& extraArgs = {QStringLiteral("--control"), QStringLiteral("--speed"),
                                                     QStringLiteral("3600")});

    ProcessResult cli(const QStringList& args);
    // Runs the CLI and expects success; answers its standard output.
    QString cliOk(const QStringList& args);
    QJsonObject cliJson(const QStringList& args);

    void signInAsDemo();
    QString newProject(const QString& prompt, const QStringList& extra = {});
    QJsonObject show(const QString& projectId);
    QJsonObject newestJob(const QString& projectId);

    // Control calls; each expects a 200 answer.
    QJsonObject control(const QByteArray& verb, const QString& path, const QJsonObject& body = {});
    void stepClock(int steps = 1);
    void finishJobs();
    void injectFault(const QJsonObject& fault);

    // A second account, signed in through its own HTTP client rather than the CLI.
    std::unique_ptr<Client> otherUser(const QString& email);

    QString downloadsFolder() const { return home.downloadsFolder(); }

    QTemporaryDir folder;
    TempHome home;
    std::unique_ptr<DevServer> server;
    std::unique_ptr<Client> controller;
};

QJsonObject jsonOf(const QString& text);
// The last line of a failed run's standard error: the failure's text, after any warnings of Qt.
QString errorLine(const ProcessResult& result);

} // namespace brightloom::test
