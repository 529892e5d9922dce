// What a service call may take from the network: time without a byte, time in all, and memory.

#include "api_fixture.h"
#include "memory_peak.h"
#include "service/api.h"
#include "task_runner.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

// The client's time limits run on a clock this many times faster, so that the real limits (60 s of
// silence, 120 s for a whole call) act in a thirtieth of their time: 2 s and 4 s.
constexpr double fast = 30;

} // namespace

TEST_F(ApiTest, LimitsAreTheProductsOwnByDefault)
{
    API api;
    EXPECT_EQ(api.limits().silence, std::chrono::seconds(60));
    EXPECT_EQ(api.limits().whole, std::chrono::seconds(120));
    EXPECT_EQ(api.limits().replyBytes, 256'000'000);
    EXPECT_EQ(api.limits().downloadBytes, 16'000'000'000);
    EXPECT_EQ(api.requestTimeout(), std::chrono::seconds(60));
}

TEST_F(ApiTest, RequestsTimeOutAfterSixtySecondsByDefault)
{
    ScriptedReply late = ScriptedReply::json(200, "\"late\"");
    late.delayMs = 1200; // 36 s at this speed
    server.on(QStringLiteral("/api/late"), late);
    ScriptedReply silent = ScriptedReply::json(200, "{}");
    silent.delayMs = 10'000; // 300 s
    server.on(QStringLiteral("/api/silent"), silent);
    API api;
    api.setClockRate(fast);

    const auto answered = run(api.request(QStringLiteral("api/late"), "GET"));
    EXPECT_TRUE(answered.ok()) << answered.errorText().toStdString();
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(run(api.request(QStringLiteral("api/silent"), "GET")).errorText(),
              QStringLiteral("The request timed out."));
    EXPECT_GE(clock.elapsed(), 1800) << "60 s";
    EXPECT_LT(clock.elapsed(), 3800) << "before the whole call's 120 s";
}

TEST_F(ApiTest, RequestThatOutlivesItsTimeoutFailsAsTimedOut)
{
    ScriptedReply slow = ScriptedReply::json(200, "{}");
    slow.delayMs = 3000;
    server.on(QStringLiteral("/api/slow"), slow);
    API api;
    api.setRequestTimeout(std::chrono::milliseconds(200));
    EXPECT_EQ(run(api.request(QStringLiteral("api/slow"), "GET")).errorText(),
              QStringLiteral("The request timed out."));
}

TEST_F(ApiTest, ReplyThatDripsIsAbandonedWhenTheCallHasNotFinishedInTwoMinutes)
{
    // A byte every half second (15 s at this speed): never 60 s of silence, never an end.
    server.on(QStringLiteral("/api/drip"), ScriptedReply::dripping(QByteArray(), 500));
    API api;
    api.setClockRate(fast);
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(run(api.request(QStringLiteral("api/drip"), "GET")).errorText(),
              QStringLiteral("The request timed out."));
    // 120 s is 4 s at this speed and 60 s of silence would be 2 s: the midpoint tells them apart
    // whatever the timers' rounding.
    EXPECT_GE(clock.elapsed(), 3000) << "120 s, not the 60 s of silence";
    EXPECT_LT(clock.elapsed(), 15'000);
}

TEST_F(ApiTest, ReplyThatDripsToItsEndInTimeArrivesWhole)
{
    server.on(QStringLiteral("/api/drip"), ScriptedReply::dripping("{\"ok\":true}", 50));
    API api;
    api.setClockRate(fast);
    const auto outcome = run(api.request(QStringLiteral("api/drip"), "GET"));
    ASSERT_TRUE(outcome.ok()) << outcome.errorText().toStdString();
    EXPECT_EQ(*outcome.value, QByteArray("{\"ok\":true}"));
}

TEST_F(ApiTest, ReplyThatNeverEndsFailsPastTheMemoryLimit)
{
    server.on(QStringLiteral("/api/endless"), ScriptedReply::neverEnding());
    API api;
    const MemoryPeak memory;
    const auto outcome = run(api.request(QStringLiteral("api/endless"), "GET"), std::chrono::minutes(2));
    EXPECT_EQ(outcome.errorText(), QStringLiteral("The service's reply was larger than 256 MB."));
    if (!MemoryPeak::available())
        GTEST_SKIP() << "the memory held is read from /proc, which only Linux has";
    // Held once while it was read: a second copy on top would have passed 512 MB.
    EXPECT_GT(memory.riseKb(), 0);
    if (!memoryIsInstrumented) {
        EXPECT_LT(memory.riseKb(), 384 * 1024) << memory.riseKb() << " kB";
    }
}

TEST_F(ApiTest, ReplyUpToTheMemoryLimitIsWholeAndOneByteMoreFails)
{
    server.on(QStringLiteral("/api/exact"), ScriptedReply::json(200, QByteArray(1'000'000, 'x')));
    server.on(QStringLiteral("/api/over"), ScriptedReply::json(200, QByteArray(1'000'001, 'x')));
    ScriptedReply endlessError = ScriptedReply::neverEnding();
    endlessError.status = 500;
    server.on(QStringLiteral("/api/error"), endlessError);
    API api;
    API::Limits limits = api.limits();
    limits.replyBytes = 1'000'000;
    api.setLimits(limits);
    const auto exact = run(api.request(QStringLiteral("api/exact"), "GET"));
    ASSERT_TRUE(exact.ok()) << exact.errorText().toStdString();
    EXPECT_EQ(exact.value->size(), 1'000'000);
    EXPECT_EQ(run(api.request(QStringLiteral("api/over"), "GET")).errorText(),
              QStringLiteral("The service's reply was larger than 1 MB."));
    EXPECT_EQ(run(api.request(QStringLiteral("api/error"), "GET")).errorText(),
              QStringLiteral("The service's reply was larger than 1 MB."));
}

TEST_F(ApiTest, OriginIsTheBaseAddressExactlyAsWritten)
{
    // An upper-case scheme and an escaped "~" stay as they were written.
    const QString written = QStringLiteral("HTTP://127.0.0.1:%1/%7Eteam/").arg(server.baseUrl().port());
    home.setEnv("BRIGHTLOOM_URL", written.toUtf8());
    API api;
    run(api.request(QStringLiteral("api/projects"), "GET"));
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests()[0].header("Origin"), written.toUtf8());
    EXPECT_EQ(server.requests()[0].path(), QStringLiteral("/~team/api/projects"));
}

TEST_F(ApiTest, CompressedReplyThatCannotBeDecompressedSaysWhy)
{
    ScriptedReply broken = ScriptedReply::json(200, "this was never gzip");
    broken.headers.append(qMakePair(QByteArray("Content-Encoding"), QByteArray("gzip")));
    server.on(QStringLiteral("/api/gzip"), broken);
    ScriptedReply deflate = ScriptedReply::json(200, "nor deflate");
    deflate.headers.append(qMakePair(QByteArray("Content-Encoding"), QByteArray("deflate")));
    server.on(QStringLiteral("/api/deflate"), deflate);
    API api;
    EXPECT_EQ(
        run(api.request(QStringLiteral("api/gzip"), "GET")).errorText(),
        QStringLiteral("The service's reply could not be decompressed: its data is not valid gzip data."));
    EXPECT_EQ(
        run(api.request(QStringLiteral("api/deflate"), "GET")).errorText(),
        QStringLiteral("The service's reply could not be decompressed: its data is not valid deflate data."));
}
