// How the listener reads requests, keeps or ends connections, and writes answers.

#include "http_listener_fixture.h"

using namespace brightloom::devserver;
using namespace brightloom::devserver::test;

TEST_F(HttpListenerTest, RequestReachesTheHandlerWithItsMethodTargetHeadersAndBody)
{
    auto client = connectClient();
    client->send("POST /things/7?kind=a%20b HTTP/1.1\r\nHost: 127.0.0.1\r\nX-Note:   two words  \r\n"
                 "content-length: 5\r\n\r\nhello");

    const std::optional<Reply> reply = client->nextReply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->statusLine, "HTTP/1.1 200 OK");
    EXPECT_EQ(reply->header("Content-Type"), "text/plain");
    EXPECT_EQ(reply->header("Content-Length"), "14");
    EXPECT_EQ(reply->body, "POST /things/7");
    EXPECT_EQ(reply->header("Connection"), std::nullopt);
    ASSERT_EQ(requests.size(), 1u);
    const HttpRequest& request = requests[0];
    EXPECT_EQ(request.method(), Method::Post);
    EXPECT_EQ(request.url().path(), QStringLiteral("/things/7"));
    EXPECT_EQ(request.url().query(QUrl::FullyEncoded), QStringLiteral("kind=a%20b"));
    const Headers expected = {{"Host", "127.0.0.1"}, {"X-Note", "two words"}, {"content-length", "5"}};
    EXPECT_EQ(request.headers(), expected);
    EXPECT_EQ(request.body(), "hello");
    EXPECT_TRUE(request.remoteAddress().isLoopback());
}

TEST_F(HttpListenerTest, MethodOutsideItsListReachesTheHandlerAsUnknown)
{
    auto client = connectClient();
    client->send("BREW /pot HTTP/1.1\r\n\r\n");

    const std::optional<Reply> reply = client->nextReply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->body, "UNKNOWN /pot");
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].method(), Method::Unknown);
}

TEST_F(HttpListenerTest, RequestArrivingInPiecesIsHandedOnOnlyWhenItsBodyIsWhole)
{
    auto client = connectClient();
    client->send("PUT /notes HT");
    letListenerRead();
    EXPECT_TRUE(requests.empty());
    client->send("TP/1.1\r\nContent-Length: 11\r\n\r\nhello");
    letListenerRead();
    EXPECT_TRUE(requests.empty());
    client->send(" world");

    const std::optional<Reply> reply = client->nextReply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->body, "PUT /notes");
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].body(), "hello world");
}

TEST_F(HttpListenerTest, HttpOneOneKeepsTheConnectionForASecondRequest)
{
    auto client = connectClient();
    client->send("GET /first HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    const std::optional<Reply> first = client->nextReply();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->body, "GET /first");
    EXPECT_EQ(first->header("Connection"), std::nullopt);

    client->send("GET /second HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    const std::optional<Reply> second = client->nextReply();
    ASSERT_TRUE(second) << "the connection ended after the first answer";
    EXPECT_EQ(second->body, "GET /second");
    EXPECT_FALSE(client->ended());
    EXPECT_EQ(requests.size(), 2u);
}

TEST_F(HttpListenerTest, ConnectionCloseEndsTheConnectionAfterTheReply)
{
    auto client = connectClient();
    client->send("GET /last HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n");

    const std::optional<Reply> reply = client->nextReply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->statusLine, "HTTP/1.1 200 OK");
    EXPECT_EQ(reply->body, "GET /last");
    EXPECT_EQ(reply->header("Connection"), "close");
    EXPECT_TRUE(client->waitEnded());
}

TEST_F(HttpListenerTest, ConnectionCloseIsReadWhateverItsCase)
{
    auto client = connectClient();
    client->send("GET /last HTTP/1.1\r\nconnection: CLOSE\r\n\r\n");

    const std::optional<Reply> reply = client->nextReply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->header("Connection"), "close");
    EXPECT_TRUE(client->waitEnded());
}

TEST_F(HttpListenerTest, HttpOneZeroWithoutKeepAliveClosesAfterTheReply)
{
    auto client = connectClient();
    client->send("GET /old HTTP/1.0\r\nHost: 127.0.0.1\r\n\r\n");

    const std::optional<Reply> reply = client->nextReply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->statusLine, "HTTP/1.1 200 OK");
    EXPECT_EQ(reply->body, "GET /old");
    EXPECT_EQ(reply->header("Connection"), "close");
    EXPECT_TRUE(client->waitEnded());
}

TEST_F(HttpListenerTest, HttpOneZeroWithKeepAliveKeepsTheConnection)
{
    auto client = connectClient();
    client->send("GET /old HTTP/1.0\r\nConnection: Keep-Alive\r\n\r\n");
    const std::optional<Reply> first = client->nextReply();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->header("Connection"), std::nullopt);

    client->send("GET /again HTTP/1.0\r\n\r\n");
    const std::optional<Reply> second = client->nextReply();
    ASSERT_TRUE(second) << "the connection ended after the first answer";
    EXPECT_EQ(second->body, "GET /again");
    // Keeping the connection was that request's choice alone; the next one, without it, ends it.
    EXPECT_EQ(second->header("Connection"), "close");
    EXPECT_TRUE(client->waitEnded());
}

TEST_F(HttpListenerTest, TwoRequestsInOneWriteAreBothAnsweredInOrder)
{
    auto client = connectClient();
    client->send("GET /one HTTP/1.1\r\n\r\nPOST /two HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc");

    const std::optional<Reply> first = client->nextReply();
    const std::optional<Reply> second = client->nextReply();
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_EQ(first->body, "GET /one");
    EXPECT_EQ(second->body, "POST /two");
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].body(), "");
    EXPECT_EQ(requests[1].body(), "abc");
    EXPECT_FALSE(client->ended());
}

TEST_F(HttpListenerTest, NextRequestIsHandedOnOnlyOnceTheAnswerBeforeItIsDone)
{
    std::optional<Responder> held;
    answer = [&held](const HttpRequest& request, Responder& responder) {
        if (request.url().path() == QStringLiteral("/slow"))
            held = responder;
        else
            responder.send(HttpResponse("text/plain", request.url().path().toUtf8()));
    };
    auto client = connectClient();
    // One request waiting behind the slow one from the start, and one arriving while it is answered.
    client->send("GET /slow HTTP/1.1\r\n\r\nGET /queued HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(spinUntil([&] { return held.has_value(); }, patience));
    client->send("GET /later HTTP/1.1\r\n\r\n");
    letListenerRead();
    EXPECT_EQ(requests.size(), 1u);
    EXPECT_TRUE(client->received().isEmpty());

    held->send(HttpResponse("text/plain", "slow"));
    QList<QByteArray> bodies;
    for (int i = 0; i < 3; ++i) {
        const std::optional<Reply> reply = client->nextReply();
        ASSERT_TRUE(reply) << "answer " << i;
        bodies.append(reply->body);
    }
    EXPECT_EQ(bodies, (QList<QByteArray>{"slow", "/queued", "/later"}));
    EXPECT_EQ(requests.size(), 3u);
}

TEST_F(HttpListenerTest, AnswerWrittenInPiecesKeepsTheConnection)
{
    answer = [](const HttpRequest&, Responder& responder) {
        responder.writeHead(StatusCode::Ok, "application/octet-stream", 6, {{"X-Piece", "yes"}});
        responder.writeRaw("abc");
        responder.writeRaw("def");
        responder.done();
    };
    auto client = connectClient();
    client->send("GET /file HTTP/1.1\r\n\r\n");
    const std::optional<Reply> first = client->nextReply();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->header("Content-Type"), "application/octet-stream");
    EXPECT_EQ(first->header("X-Piece"), "yes");
    EXPECT_EQ(first->body, "abcdef");

    client->send("GET /file HTTP/1.1\r\n\r\n");
    const std::optional<Reply> second = client->nextReply();
    ASSERT_TRUE(second);
    EXPECT_EQ(second->body, "abcdef");
}

TEST_F(HttpListenerTest, ClosedAnswerEndsTheConnectionInOrderWhereItStopped)
{
    answer = [](const HttpRequest&, Responder& responder) {
        responder.writeHead(StatusCode::Ok, "text/plain", 10);
        responder.writeRaw("abc");
        responder.close();
    };
    const Ending ending =
        sendAndReadToTheEnd(listener.serverPort(), "GET /cut HTTP/1.1\r\n\r\nGET /never HTTP/1.1\r\n\r\n");

    EXPECT_EQ(ending.error, 0);
    EXPECT_EQ(ending.received,
              "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 10\r\n\r\nabc");
    EXPECT_EQ(requests.size(), 1u);
}

TEST_F(HttpListenerTest, ResetAnswerEndsTheConnectionWithAResetAfterWhatWasWritten)
{
    answer = [](const HttpRequest&, Responder& responder) {
        responder.writeHead(StatusCode::Ok, "text/plain", 10);
        responder.writeRaw("abc");
        responder.reset();
    };
    const Ending ending = sendAndReadToTheEnd(listener.serverPort(), "GET /cut HTTP/1.1\r\n\r\n");

    EXPECT_EQ(ending.error, ECONNRESET);
    EXPECT_EQ(ending.received,
              "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 10\r\n\r\nabc");
}

TEST_F(HttpListenerTest, AnswerForAClientThatHasGoneIsDropped)
{
    std::optional<Responder> held;
    answer = [&held](const HttpRequest&, Responder& responder) { held = responder; };
    {
        auto client = connectClient();
        client->send("GET /slow HTTP/1.1\r\n\r\n");
        ASSERT_TRUE(spinUntil([&] { return held.has_value(); }, patience));
        ASSERT_TRUE(held->connected());
    }
    ASSERT_TRUE(spinUntil([&] { return held->socket() == nullptr; }, patience));
    EXPECT_FALSE(held->connected());
    held->send(HttpResponse("text/plain", "too late"));

    answer = [](const HttpRequest&, Responder& responder) {
        responder.send(HttpResponse("text/plain", "next"));
    };
    auto next = connectClient();
    next->send("GET /next HTTP/1.1\r\n\r\n");
    const std::optional<Reply> reply = next->nextReply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->body, "next");
}

TEST_F(HttpListenerTest, AnswerToAHeadRequestHasItsHeadersButNoBody)
{
    auto client = connectClient();
    client->send("HEAD /h HTTP/1.1\r\n\r\nGET /after HTTP/1.1\r\n\r\n");

    // The head says how long the body would be ("HEAD /h"); the next bytes are the next answer.
    ASSERT_TRUE(spinUntil([&] { return client->received().endsWith("GET /after"); }, patience));
    const QByteArray received = client->received();
    const qsizetype second = received.indexOf("HTTP/1.1 200", 1);
    ASSERT_GT(second, 0) << received.constData();
    const QByteArray first = received.left(second);
    EXPECT_TRUE(first.startsWith("HTTP/1.1 200 OK\r\n")) << first.constData();
    EXPECT_TRUE(first.contains("Content-Length: 7\r\n")) << first.constData();
    EXPECT_TRUE(first.endsWith("\r\n\r\n")) << "a body after the head: " << first.constData();
}
