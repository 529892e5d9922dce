#pragma once

// A test service on a thread of its own, as a remote one would be: sending a large reply is the
// server's work, not the client's, and must not count as time on the client's main thread.

#include "recording_server.h"

#include <QObject>
#include <QThread>
#include <QUrl>
#include <functional>
#include <sys/resource.h>
#if defined(__linux__)
#include <sys/syscall.h>
#endif
#include <unistd.h>

namespace brightloom::bench {

struct ServiceOptions
{
    bool https = false; // with the tests' certificate, which BRIGHTLOOM_CA_FILE must then trust
    // At the lowest priority, so that it takes no processor time the client's threads want, as a
    // service on another machine would not.
    bool lowestPriority = false;
};

class ServiceThread
{
public:
    // `setUp` runs on the service's thread once its server listens.
    explicit ServiceThread(const std::function<void(test::RecordingServer&)>& setUp = {},
                           ServiceOptions options = {})
    {
        m_thread.start();
        m_context.moveToThread(&m_thread);
        QMetaObject::invokeMethod(
            &m_context,
            [this, setUp, options] {
#if defined(__linux__)
                // Only Linux gives a thread a priority of its own; elsewhere the service competes.
                if (options.lowestPriority)
                    ::setpriority(PRIO_PROCESS, id_t(::syscall(SYS_gettid)), 19);
#endif
                m_server = options.https
                               ? new test::RecordingServer(test::TestCertificate::shared().certificate,
                                                           test::TestCertificate::shared().key)
                               : new test::RecordingServer;
                if (setUp)
                    setUp(*m_server);
                m_base = m_server->baseUrl();
            },
            Qt::BlockingQueuedConnection);
    }
    ~ServiceThread()
    {
        QMetaObject::invokeMethod(
            &m_context, [this] { delete m_server; }, Qt::BlockingQueuedConnection);
        m_thread.quit();
        m_thread.wait();
    }
    ServiceThread(const ServiceThread&) = delete;
    ServiceThread& operator=(const ServiceThread&) = delete;

    QUrl baseUrl() const
    {
        return m_base;
    }

    // Runs `change` on the service's thread and waits for it.
    void call(const std::function<void(test::RecordingServer&)>& change)
    {
        if (!m_server)
            return;
        QMetaObject::invokeMethod(
            &m_context, [this, change] { change(*m_server); }, Qt::BlockingQueuedConnection);
    }

private:
    QThread m_thread;
    QObject m_context;
    test::RecordingServer* m_server = nullptr;
    QUrl m_base;
};

} // namespace brightloom::bench
