#include "http_util.h"

#include "store.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QList>

namespace brightloom::devserver {

HttpResponse jsonResponse(const QJsonObject& body, StatusCode status)
{
    return HttpResponse(QByteArrayLiteral("application/json"),
                        QJsonDocument(body).toJson(QJsonDocument::Compact), status);
}

HttpResponse jsonNullResponse()
{
    return HttpResponse(QByteArrayLiteral("application/json"), QByteArrayLiteral("null"));
}

HttpResponse errorResponse(StatusCode status, const QString& message)
{
    QJsonObject body;
    body.insert(QStringLiteral("message"), message);
    return jsonResponse(body, status);
}

HttpResponse htmlResponse(const QString& html, StatusCode status)
{
    return HttpResponse(QByteArrayLiteral("text/html; charset=utf-8"), html.toUtf8(), status);
}

HttpResponse redirectResponse(const QString& location)
{
    // A body too, for browsers that do not know where the address leads (a custom scheme with no
    // program registered for it): the person still sees where they were sent.
    const QString escaped = location.toHtmlEscaped();
    HttpResponse response = htmlResponse(
        QStringLiteral("<!DOCTYPE html><title>Redirecting</title><p><a href=\"%1\">Continue</a></p>")
            .arg(escaped),
        StatusCode::Found);
    response.addHeader(QByteArrayLiteral("Location"), location.toUtf8());
    return response;
}

QJsonObject jsonObjectBody(const HttpRequest& request)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(request.body(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Invalid JSON body")};
    return document.object();
}

QString stringField(const QJsonObject& body, const QString& name)
{
    const QJsonValue value = body.value(name);
    if (value.isUndefined())
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Missing field \"%1\"").arg(name)};
    if (!value.isString())
        throw HttpError{StatusCode::BadRequest, QStringLiteral("Field \"%1\" must be a string").arg(name)};
    return value.toString();
}

QUrlQuery formBody(const HttpRequest& request)
{
    QByteArray body = request.body();
    body.replace('+', ' ');
    return QUrlQuery(QString::fromUtf8(body));
}

QByteArray headerValue(const HttpRequest& request, const QByteArray& name, char separator)
{
    QByteArray joined;
    const auto headers = request.headers();
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) != 0)
            continue;
        if (!joined.isEmpty())
            joined += separator;
        joined += value;
    }
    return joined;
}

std::optional<QByteArray> cookieValue(const HttpRequest& request, const QByteArray& name)
{
    const QList<QByteArray> pairs = headerValue(request, QByteArrayLiteral("Cookie"), ';').split(';');
    for (const QByteArray& pair : pairs) {
        const qsizetype equals = pair.indexOf('=');
        if (equals < 0)
            continue;
        if (pair.left(equals).trimmed() == name)
            return pair.mid(equals + 1).trimmed();
    }
    return std::nullopt;
}

namespace {

QByteArray cookieAttributes(qint64 maxAge, bool secure)
{
    QByteArray attributes = "; Path=/; HttpOnly; SameSite=Lax; Max-Age=" + QByteArray::number(maxAge);
    if (secure)
        attributes += "; Secure";
    return attributes;
}

} // namespace

QByteArray sessionCookie(const QString& token, bool secure)
{
    return QByteArray(sessionCookieName) + '=' + token.toLatin1() +
           cookieAttributes(sessionLifetime.count(), secure);
}

QByteArray clearedSessionCookie(bool secure)
{
    return QByteArray(sessionCookieName) + '=' + cookieAttributes(0, secure);
}

} // namespace brightloom::devserver
