// Where a reply is read: a small one on the thread that asked, so a poll wakes no other thread; a
// large one on the thread pool, so it never stalls the window.

#include "api_fixture.h"
#include "service/api.h"
#include "task_runner.h"

#include <QSemaphore>
#include <QThreadPool>
#include <gtest/gtest.h>

using namespace brightloom;
using namespace brightloom::test;

namespace {

// Holds every thread of the global pool until released, so that nothing queued there can run.
class BusyPool
{
public:
    BusyPool() : m_count(QThreadPool::globalInstance()->maxThreadCount())
    {
        QSemaphore started;
        for (int i = 0; i < m_count; ++i) {
            QThreadPool::globalInstance()->start([this, &started] {
                started.release();
                m_release.acquire();
            });
        }
        started.acquire(m_count);
    }
    ~BusyPool()
    {
        release();
        QThreadPool::globalInstance()->waitForDone();
    }
    BusyPool(const BusyPool&) = delete;
    BusyPool& operator=(const BusyPool&) = delete;

    void release()
    {
        if (!m_released)
            m_release.release(m_count);
        m_released = true;
    }

private:
    QSemaphore m_release;
    int m_count;
    bool m_released = false;
};

// A project's history whose reply has about `bytes` bytes.
QByteArray detailReply(qsizetype bytes)
{
    return R"({"project":{"id":"p1","name":"N"},"messages":[{"id":"m","role":"user","content":")" +
           QByteArray(std::max<qsizetype>(bytes - 100, 1), 'a') + R"("}],"jobs":[]})";
}

} // namespace

TEST_F(ApiTest, SmallReplyIsReadOnTheAskingThreadWhileThePoolIsBusy)
{
    const QByteArray reply = detailReply(brightloom::detail::readInPlaceLimit);
    ASSERT_LE(reply.size(), brightloom::detail::readInPlaceLimit);
    server.on(QStringLiteral("GET /api/projects/p1"), ScriptedReply::json(200, reply));
    API api;
    ASSERT_TRUE(run(api.detail(QStringLiteral("p1"))).ok()); // the TLS library has loaded
    BusyPool pool;
    const auto detail = run(api.detail(QStringLiteral("p1")));
    ASSERT_TRUE(detail.ok()) << detail.errorText().toStdString();
    EXPECT_EQ(detail.value->messages.size(), 1);
}

TEST_F(ApiTest, LargeReplyIsReadOnThePoolAndWaitsForIt)
{
    const QByteArray reply = detailReply(brightloom::detail::readInPlaceLimit + 1024);
    server.on(QStringLiteral("GET /api/projects/p1"), ScriptedReply::json(200, reply));
    API api;
    ASSERT_TRUE(run(api.detail(QStringLiteral("p1"))).ok());
    BusyPool pool;
    Outcome<ProjectDetail> detail;
    auto reading = brightloom::test::detail::capture(api.detail(QStringLiteral("p1")), &detail);
    ASSERT_TRUE(spinUntil([&] { return server.requests().size() == 2; }));
    // The reply arrives within moments; with every pool thread held, it cannot be read.
    EXPECT_FALSE(spinUntil([&] { return detail.finished; }, std::chrono::milliseconds(500)));
    pool.release();
    ASSERT_TRUE(spinUntil([&] { return detail.finished; }));
    ASSERT_TRUE(detail.ok()) << detail.errorText().toStdString();
    EXPECT_EQ(detail.value->messages.size(), 1);
}
