#include "library_fixture.h"

#include <QJsonDocument>
#include <QSslConfiguration>

namespace brightloom::test {

QJsonObject versionJson(const VersionFields& fields, const QUrl& base)
{
    const QString files = base.toString() + QStringLiteral("files/") + fields.jobId;
    QJsonObject o{{QStringLiteral("jobId"), fields.jobId},
                  {QStringLiteral("version"), fields.version},
                  {QStringLiteral("appName"), fields.appName},
                  {QStringLiteral("downloadUrl"), QString(files + QStringLiteral("/app.zip"))},
                  {QStringLiteral("hasSource"), fields.hasSource},
                  {QStringLiteral("createdAt"), QStringLiteral("2026-10-01T09:00:00.000Z")}};
    if (fields.summary)
        o.insert(QStringLiteral("summary"), *fields.summary);
    if (fields.dmg)
        o.insert(QStringLiteral("dmgUrl"), QString(files + QStringLiteral("/app.dmg")));
    return o;
}

QJsonObject appJson(const QString& projectId, const QString& name, const QJsonArray& versions)
{
    return QJsonObject{{QStringLiteral("projectId"), projectId},
                       {QStringLiteral("name"), name},
                       {QStringLiteral("versions"), versions},
                       {QStringLiteral("templatePublic"), false}};
}

QJsonObject nodeJson(const QString& jobId, const QString& version, const QString& prompt,
                     const std::optional<QString>& summary, const QJsonArray& forks, int hiddenForks,
                     bool hasSource)
{
    QJsonObject o{{QStringLiteral("jobId"), jobId},
                  {QStringLiteral("version"), version},
                  {QStringLiteral("prompt"), prompt},
                  {QStringLiteral("createdAt"), QStringLiteral("2026-10-01T09:00:00.000Z")},
                  {QStringLiteral("hasSource"), hasSource},
                  {QStringLiteral("forks"), forks},
                  {QStringLiteral("hiddenForks"), hiddenForks}};
    if (summary)
        o.insert(QStringLiteral("summary"), *summary);
    return o;
}

QJsonObject forkJson(const QString& projectId, const QString& name, bool mine, const QJsonArray& nodes)
{
    return QJsonObject{{QStringLiteral("projectId"), projectId},
                       {QStringLiteral("name"), name},
                       {QStringLiteral("mine"), mine},
                       {QStringLiteral("nodes"), nodes}};
}

QJsonObject detailJson(const QJsonObject& app, const QJsonArray& tree, bool canTemplate,
                       const std::optional<QJsonObject>& origin)
{
    QJsonObject o{{QStringLiteral("app"), app},
                  {QStringLiteral("tree"), tree},
                  {QStringLiteral("treeProjectId"), app.value(QStringLiteral("projectId"))},
                  {QStringLiteral("canTemplate"), canTemplate}};
    if (origin)
        o.insert(QStringLiteral("origin"), *origin);
    return o;
}

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray deepTreeDetail(int levels)
{
    const QByteArray nodeHead = R"({"jobId":"j","version":"1.0","prompt":"A change","createdAt":"t",)"
                                R"("hasSource":true,"hiddenForks":0,"forks":[)";
    const QByteArray forkHead = R"({"projectId":"f","name":"Branch","mine":true,"nodes":[)";
    QByteArray json = R"({"app":{"projectId":"deep","name":"Deep","versions":[],"templatePublic":false},)"
                      R"("treeProjectId":"deep","canTemplate":true,"tree":[)";
    json.reserve(json.size() + qsizetype(levels) * (nodeHead.size() + forkHead.size() + 8));
    for (int i = 0; i < levels; ++i)
        json += (i % 2 == 0) ? nodeHead : forkHead;
    for (int i = 0; i < levels; ++i)
        json += "]}";
    json += "]}";
    return json;
}

QJsonObject ScriptedGithub::readyPanel(bool linked)
{
    QJsonObject o{{QStringLiteral("state"), QStringLiteral("ready")},
                  {QStringLiteral("login"), QStringLiteral("demo")},
                  {QStringLiteral("pushVersion"), QStringLiteral("1.1")}};
    if (linked)
        o.insert(QStringLiteral("link"), QJsonObject{{QStringLiteral("repo"), QStringLiteral("demo/website")},
                                                     {QStringLiteral("upToDate"), false}});
    return o;
}

std::optional<ScriptedReply> ScriptedGithub::answer(const RecordedRequest& request)
{
    const QString path = request.path();
    if (path == QLatin1String("/api/github/repos") && request.method == "GET")
        return reposReply;
    if (path == QLatin1String("/api/projects/p1/github") && request.method == "GET") {
        if (!panel)
            return ScriptedReply::json(500, R"({"message":"GitHub is down"})");
        return ScriptedReply::json(200, compact(*panel));
    }
    if (path == QLatin1String("/api/projects/p1/github") && request.method == "POST") {
        if (linkReply.status >= 400 || !panel)
            return linkReply;
        const QString repo =
            QJsonDocument::fromJson(request.body).object().value(QStringLiteral("repo")).toString();
        panel->insert(QStringLiteral("link"),
                      QJsonObject{{QStringLiteral("repo"), repo}, {QStringLiteral("upToDate"), false}});
        return linkReply;
    }
    if (path == QLatin1String("/api/projects/p1/github") && request.method == "DELETE") {
        if (panel)
            panel->remove(QStringLiteral("link"));
        return ScriptedReply::json(200, "{}");
    }
    if (path == QLatin1String("/api/projects/p1/github/push") && request.method == "POST") {
        if (pushReply.status < 400 && panel && panel->contains(QStringLiteral("link"))) {
            QJsonObject link = panel->value(QStringLiteral("link")).toObject();
            link.insert(QStringLiteral("upToDate"), true);
            link.insert(QStringLiteral("lastVersion"), panel->value(QStringLiteral("pushVersion")));
            panel->insert(QStringLiteral("link"), link);
        }
        return pushReply;
    }
    return std::nullopt;
}

void trustTestCertificate()
{
    // The client adds BRIGHTLOOM_CA_FILE once per process, when its first client is made; a test
    // binary whose earlier tests made one without it still trusts the test certificate this way.
    QSslConfiguration config = QSslConfiguration::defaultConfiguration();
    const QSslCertificate& certificate = TestCertificate::shared().certificate;
    if (config.caCertificates().contains(certificate))
        return;
    config.setCaCertificates(config.caCertificates() + QList<QSslCertificate>{certificate});
    QSslConfiguration::setDefaultConfiguration(config);
}

ScriptedServiceTest::ScriptedServiceTest()
    : server(TestCertificate::shared().certificate, TestCertificate::shared().key)
{
    home.setEnv("BRIGHTLOOM_URL", server.baseUrl().toString().toUtf8());
    home.setEnv("BRIGHTLOOM_CA_FILE", TestCertificate::shared().caFile.toUtf8());
    trustTestCertificate();
    server.setHandler([this](const RecordedRequest& request) -> ScriptedReply {
        if (std::optional<ScriptedReply> reply = github.answer(request))
            return *reply;
        const QString route = QString::fromUtf8(request.method) + QLatin1Char(' ') + request.path();
        if (const auto found = routes.constFind(route); found != routes.cend())
            return *found;
        return ScriptedReply::json(404, R"({"message":"Not found"})");
    });
}

} // namespace brightloom::test
