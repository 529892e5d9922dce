#include "road_fixture.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace brightloom::test {

QJsonObject jsonOf(const QString& text)
{
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

QString errorLine(const ProcessResult& result)
{
    const QStringList lines = result.err.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return lines.isEmpty() ? QString() : lines.last();
}

void RoadTest::SetUp()
{
    ASSERT_TRUE(folder.isValid());
    startServer();
}

void RoadTest::startServer(const QStringList& extraArgs)
{
    controller.reset();
    server.reset();
    try {
        server = std::make_unique<DevServer>(folder.filePath(QStringLiteral("data")), extraArgs);
    } catch (const std::exception& error) {
        FAIL() << error.what();
    }
    controller = std::make_unique<Client>(*server);
    home.setEnv("BRIGHTLOOM_URL", server->baseUrl().toString().toUtf8());
    home.setEnv("BRIGHTLOOM_CA_FILE", server->caFile().toUtf8());
}

ProcessResult RoadTest::cli(const QStringList& args)
{
    return runCli(args, {}, std::chrono::seconds(30));
}

QString RoadTest::cliOk(const QStringList& args)
{
    const ProcessResult result = cli(args);
    EXPECT_EQ(result.exitCode, 0) << args.join(QLatin1Char(' ')).toStdString() << ": "
                                  << result.err.toStdString();
    return result.out;
}

QJsonObject RoadTest::cliJson(const QStringList& args)
{
    return jsonOf(cliOk(args));
}

void RoadTest::signInAsDemo()
{
    cliOk({QStringLiteral("login"), QStringLiteral("--email"), demoEmail, QStringLiteral("--password"),
           demoPassword});
}

QString RoadTest::newProject(const QString& prompt, const QStringList& extra)
{
    QStringList args = QStringList{QStringLiteral("new"), prompt} + extra;
    // These roads are about the service: the local compile warning is accepted beforehand.
    if (extra.contains(QStringLiteral("--local")))
        args.append(QStringLiteral("--yes"));
    // Importing a repository needs a toolchain on this machine; the stand-in tools answer for one.
    if (extra.contains(QStringLiteral("--import")))
        home.setEnv("BRIGHTLOOM_TOOLS_DIR", BRIGHTLOOM_STANDIN_TOOLS_DIR);
    return cliOk(args).trimmed();
}

QJsonObject RoadTest::show(const QString& projectId)
{
    return cliJson({QStringLiteral("show"), projectId, QStringLiteral("--json")});
}

QJsonObject RoadTest::newestJob(const QString& projectId)
{
    return show(projectId).value(QStringLiteral("jobs")).toArray().first().toObject();
}

QJsonObject RoadTest::control(const QByteArray& verb, const QString& path, const QJsonObject& body)
{
    const Reply reply =
        controller->send(verb, path, QJsonDocument(body).toJson(QJsonDocument::Compact), "application/json");
    EXPECT_EQ(reply.status, 200) << path.toStdString() << ": " << reply.body.constData()
                                 << reply.transport.toStdString();
    return reply.json();
}

void RoadTest::stepClock(int steps)
{
    QJsonObject body;
    body.insert(QStringLiteral("steps"), steps);
    control("POST", QStringLiteral("control/clock/step"), body);
}

void RoadTest::finishJobs()
{
    control("POST", QStringLiteral("control/clock/finish"));
}

void RoadTest::injectFault(const QJsonObject& fault)
{
    control("POST", QStringLiteral("control/faults"), fault);
}

std::unique_ptr<Client> RoadTest::otherUser(const QString& email)
{
    auto client = std::make_unique<Client>(*server);
    const Reply reply =
        client->postJson(QStringLiteral("api/auth/sign-up/email"),
                         signUpBody(QStringLiteral("Other"), email, QStringLiteral("long enough")));
    EXPECT_EQ(reply.status, 200) << reply.body.constData();
    return client;
}

} // namespace brightloom::test
