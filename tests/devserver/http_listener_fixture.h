#pragma once

// The listener as a client meets it on the wire: raw bytes written to a plain socket, status lines
// and ended connections read back. The stand-in's other tests reach it through Qt's HTTP code, which
// sends nothing it would refuse and hides when a connection is kept or closed; here those are the
// point.

#include "certificate.h"
#include "http_listener.h"
#include "task_runner.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QSslSocket>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <cerrno>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <netinet/in.h>
#include <optional>
#include <ostream>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

// Bytes off the wire shown as text, control characters escaped, when an expectation fails.
inline void PrintTo(const QByteArray& bytes, std::ostream* out)
{
    *out << '"' << bytes.toPercentEncoding(" /:;,.=-_*()").toStdString() << '"';
}

namespace brightloom::devserver::test {

using brightloom::test::spinUntil;
using namespace std::chrono_literals;

// Long enough for a loaded machine, short enough that a listener that never answers fails the test
// well inside its time limit.
constexpr auto patience = 10s;

// What the listener lets a request's line and headers grow to before their blank line has come.
constexpr qsizetype headLimit = 64 * 1024;

struct Reply
{
    QByteArray statusLine;
    Headers headers;
    QByteArray body;

    std::optional<QByteArray> header(const QByteArray& name) const
    {
        for (const auto& [key, value] : headers) {
            if (key.compare(name, Qt::CaseInsensitive) == 0)
                return value;
        }
        return std::nullopt;
    }
};

// Takes the first whole answer off the front of `bytes`, or nothing while it is still arriving. The
// listener gives every answer a Content-Length, so that is all that says where one ends.
inline std::optional<Reply> takeReply(QByteArray& bytes)
{
    const qsizetype headEnd = bytes.indexOf("\r\n\r\n");
    if (headEnd < 0)
        return std::nullopt;
    const QList<QByteArray> lines = bytes.left(headEnd).split('\n');
    Reply reply;
    reply.statusLine = lines.value(0).trimmed();
    qint64 length = 0;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray line = lines[i].trimmed();
        const qsizetype colon = line.indexOf(':');
        const QByteArray name = line.left(colon).trimmed();
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (name.compare("Content-Length", Qt::CaseInsensitive) == 0)
            length = value.toLongLong();
        reply.headers.append({name, value});
    }
    if (bytes.size() < headEnd + 4 + length)
        return std::nullopt;
    reply.body = bytes.mid(headEnd + 4, length);
    bytes.remove(0, headEnd + 4 + length);
    return reply;
}

// A client that writes exactly the bytes it is given and keeps everything that comes back, including
// what arrived just before the server ended the connection.
class RawClient
{
public:
    explicit RawClient(quint16 port)
    {
        QObject::connect(&m_socket, &QIODevice::readyRead, &m_listening,
                         [this] { m_received += m_socket.readAll(); });
        QObject::connect(&m_socket, &QAbstractSocket::disconnected, &m_listening, [this] {
            m_received += m_socket.readAll();
            m_ended = true;
        });
        m_socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    }

    bool waitConnected()
    {
        return spinUntil([this] { return m_socket.state() == QAbstractSocket::ConnectedState; }, patience);
    }

    // Written through to the kernel before returning, so the listener can read it on its next turn of
    // the event loop.
    void send(const QByteArray& bytes)
    {
        m_socket.write(bytes);
        m_socket.flush();
    }

    // The next whole answer, or nothing if the connection ended or time ran out first.
    std::optional<Reply> nextReply()
    {
        std::optional<Reply> reply;
        spinUntil(
            [&] {
                reply = takeReply(m_received);
                return reply || m_ended;
            },
            patience);
        return reply;
    }

    bool waitEnded()
    {
        return spinUntil([this] { return m_ended; }, patience);
    }

    bool ended() const { return m_ended; }
    const QByteArray& received() const { return m_received; }

private:
    QByteArray m_received;
    bool m_ended = false;
    QTcpSocket m_socket;
    // Goes first, taking the connections above with it: a socket being destroyed says it has
    // disconnected, and nothing is left to hear it.
    QObject m_listening;
};

// Lets the listener handle whatever has reached its socket, without waiting on the clock: loopback
// delivers a flushed write at once. Two turns of the loop, as the first may go to accepting the
// connection before its socket can be read.
inline void letListenerRead()
{
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
}

// A request the listener refuses gets its status and phrase, a plain text body naming the phrase, and
// the end of the connection.
inline ::testing::AssertionResult refusedWith(RawClient& client, const QByteArray& status,
                                              const QByteArray& phrase)
{
    const std::optional<Reply> reply = client.nextReply();
    if (!reply)
        return ::testing::AssertionFailure()
               << "no answer; received \"" << client.received().constData() << '"';
    const QByteArray statusLine = "HTTP/1.1 " + status + ' ' + phrase;
    if (reply->statusLine != statusLine)
        return ::testing::AssertionFailure() << "status line \"" << reply->statusLine.constData() << '"';
    if (reply->header("Content-Type") != "text/plain" || reply->body != phrase + '\n')
        return ::testing::AssertionFailure() << "body \"" << reply->body.constData() << '"';
    if (reply->header("Connection") != "close")
        return ::testing::AssertionFailure() << "the answer does not say the connection closes";
    if (!client.waitEnded())
        return ::testing::AssertionFailure() << "the connection stayed open";
    if (!client.received().isEmpty())
        return ::testing::AssertionFailure()
               << "more after the refusal: \"" << client.received().constData() << '"';
    return ::testing::AssertionSuccess();
}

// How a connection ended, as its client's own descriptor tells it. Qt reports an orderly end and a
// reset alike, as the remote host closing, yet telling them apart is the whole of what close() and
// reset() promise.
struct Ending
{
    QByteArray received;
    // 0 for an orderly end, else the error the end came with; -1 while it has not ended.
    int error = -1;
};

inline Ending sendAndReadToTheEnd(quint16 port, const QByteArray& request)
{
    Ending ending;
    const int descriptor = ::socket(AF_INET, SOCK_STREAM, 0);
    if (descriptor < 0)
        return ending;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // Loopback connects at once from the listener's backlog, before the event loop has accepted it.
    if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        ::send(descriptor, request.constData(), size_t(request.size()), MSG_NOSIGNAL) == request.size()) {
        spinUntil(
            [&] {
                char chunk[4096];
                const ssize_t got = ::recv(descriptor, chunk, sizeof chunk, MSG_DONTWAIT);
                if (got > 0)
                    ending.received.append(chunk, got);
                else if (got == 0)
                    ending.error = 0;
                else if (errno != EAGAIN && errno != EWOULDBLOCK)
                    ending.error = errno;
                return ending.error >= 0;
            },
            patience);
    }
    ::close(descriptor);
    return ending;
}

class HttpListenerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(listener.listen(QHostAddress(QHostAddress::LocalHost), 0))
            << listener.errorString().toStdString();
    }

    std::unique_ptr<RawClient> connectClient()
    {
        auto client = std::make_unique<RawClient>(listener.serverPort());
        EXPECT_TRUE(client->waitConnected());
        return client;
    }

    // How each request is answered. By default with its method and path, so that answers can be told
    // apart and matched to their requests.
    std::function<void(const HttpRequest&, Responder&)> answer = [](const HttpRequest& request,
                                                                    Responder& responder) {
        responder.send(
            HttpResponse("text/plain", methodName(request.method()) + ' ' + request.url().path().toUtf8()));
    };
    std::vector<HttpRequest> requests;
    HttpListener listener{std::nullopt, [this](const HttpRequest& request, Responder responder) {
                              requests.push_back(request);
                              answer(request, responder);
                          }};
};

} // namespace brightloom::devserver::test
