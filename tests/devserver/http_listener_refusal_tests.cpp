// What the listener refuses, and what it still reads.

#include "http_listener_fixture.h"

using namespace brightloom::devserver;
using namespace brightloom::devserver::test;

TEST_F(HttpListenerTest, HeadThatOutgrowsTheLimitBeforeItEndsIsRefusedWith431)
{
    auto client = connectClient();
    QByteArray head = "GET / HTTP/1.1\r\nX-Filler: ";
    head += QByteArray(headLimit + 1 - head.size(), 'a');
    ASSERT_EQ(head.size(), headLimit + 1);
    client->send(head);

    EXPECT_TRUE(refusedWith(*client, "431", "Request Header Fields Too Large"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, HeadOverTheLimitIsRefusedWith431AlsoWhenItArrivesWholeInOneWrite)
{
    auto client = connectClient();
    QByteArray head = "GET / HTTP/1.1\r\nX-Filler: ";
    head += QByteArray(headLimit + 1 - head.size(), 'a') + "\r\n\r\n";
    client->send(head);

    EXPECT_TRUE(refusedWith(*client, "431", "Request Header Fields Too Large"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, HeadThatReachesTheLimitBeforeItEndsIsStillRead)
{
    auto client = connectClient();
    QByteArray head = "GET /full HTTP/1.1\r\nX-Filler: ";
    head += QByteArray(headLimit - 2 - head.size(), 'a') + "\r\n";
    ASSERT_EQ(head.size(), headLimit);
    client->send(head);
    letListenerRead();
    client->send("\r\n");

    const std::optional<Reply> reply = client->nextReply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->statusLine, "HTTP/1.1 200 OK");
    EXPECT_EQ(reply->body, "GET /full");
}

TEST_F(HttpListenerTest, ChunkedRequestBodyIsRefusedWith501)
{
    auto client = connectClient();
    client->send("POST /upload HTTP/1.1\r\nHost: 127.0.0.1\r\nTransfer-Encoding: chunked\r\n\r\n"
                 "5\r\nhello\r\n0\r\n\r\n");

    EXPECT_TRUE(refusedWith(*client, "501", "Not Implemented"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, BodyOverSixtyFourMebibytesIsRefusedWith413BeforeItIsSent)
{
    auto client = connectClient();
    client->send("POST /upload HTTP/1.1\r\nContent-Length: 67108865\r\n\r\n");

    EXPECT_TRUE(refusedWith(*client, "413", "Payload Too Large"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, RequestLineWithoutVersionIsRefusedWith400)
{
    auto client = connectClient();
    client->send("GET /\r\nHost: 127.0.0.1\r\n\r\n");

    EXPECT_TRUE(refusedWith(*client, "400", "Bad Request"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, RequestLineWithMoreThanThreePartsIsRefusedWith400)
{
    auto client = connectClient();
    client->send("GET / HTTP/1.1 extra\r\n\r\n");

    EXPECT_TRUE(refusedWith(*client, "400", "Bad Request"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, TargetThatIsNotAPathIsRefusedWith400)
{
    auto client = connectClient();
    client->send("GET http://127.0.0.1/ HTTP/1.1\r\n\r\n");

    EXPECT_TRUE(refusedWith(*client, "400", "Bad Request"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, VersionOtherThanHttpOneIsRefusedWith400)
{
    auto client = connectClient();
    client->send("GET / HTTP/2.0\r\n\r\n");

    EXPECT_TRUE(refusedWith(*client, "400", "Bad Request"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, HeaderLineWithoutColonIsRefusedWith400)
{
    auto client = connectClient();
    client->send("GET / HTTP/1.1\r\nHost 127.0.0.1\r\n\r\n");

    EXPECT_TRUE(refusedWith(*client, "400", "Bad Request"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, HeaderLineWithoutNameIsRefusedWith400)
{
    auto client = connectClient();
    client->send("GET / HTTP/1.1\r\n: nameless\r\n\r\n");

    EXPECT_TRUE(refusedWith(*client, "400", "Bad Request"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, ContentLengthThatIsNotANumberIsRefusedWith400)
{
    auto client = connectClient();
    client->send("POST / HTTP/1.1\r\nContent-Length: five\r\n\r\nhello");

    EXPECT_TRUE(refusedWith(*client, "400", "Bad Request"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, NegativeContentLengthIsRefusedWith400)
{
    auto client = connectClient();
    client->send("POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n");

    EXPECT_TRUE(refusedWith(*client, "400", "Bad Request"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, RequestsAfterARefusedOneOnItsConnectionAreNeverRead)
{
    auto client = connectClient();
    client->send("GET nowhere HTTP/1.1\r\n\r\nGET /fine HTTP/1.1\r\n\r\n");

    EXPECT_TRUE(refusedWith(*client, "400", "Bad Request"));
    EXPECT_TRUE(requests.empty());
}

TEST_F(HttpListenerTest, RefusalOnOneConnectionLeavesTheOthersOpen)
{
    auto kept = connectClient();
    kept->send("GET /first HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(kept->nextReply());

    auto refused = connectClient();
    refused->send("GET / HTTP/1.1\r\nbroken\r\n\r\n");
    EXPECT_TRUE(refusedWith(*refused, "400", "Bad Request"));

    kept->send("GET /second HTTP/1.1\r\n\r\n");
    const std::optional<Reply> reply = kept->nextReply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->body, "GET /second");
}

TEST(HttpListenerTlsTest, AnswersAClientThatTrustsItsCertificate)
{
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    QString error;
    const std::optional<QSslConfiguration> tls = serverTlsConfiguration(folder.path(), &error);
    ASSERT_TRUE(tls) << error.toStdString();
    HttpListener listener(tls, [](const HttpRequest& request, Responder responder) {
        responder.send(HttpResponse("text/plain", "secret " + request.url().path().toUtf8()));
    });
    ASSERT_TRUE(listener.listen(QHostAddress(QHostAddress::LocalHost), 0));

    QByteArray received;
    QSslSocket client;
    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    trusting.setCaCertificates({tls->localCertificate()});
    client.setSslConfiguration(trusting);
    QObject::connect(&client, &QIODevice::readyRead, &client, [&] { received += client.readAll(); });
    client.connectToHostEncrypted(QStringLiteral("127.0.0.1"), listener.serverPort());
    ASSERT_TRUE(spinUntil([&] { return client.isEncrypted(); }, patience))
        << client.errorString().toStdString();
    client.write("GET /inside HTTP/1.1\r\n\r\n");

    std::optional<Reply> reply;
    ASSERT_TRUE(spinUntil([&] { return (reply = takeReply(received)).has_value(); }, patience));
    EXPECT_EQ(reply->statusLine, "HTTP/1.1 200 OK");
    EXPECT_EQ(reply->body, "secret /inside");
}
