#include "background_priority.h"

#include "threads/system_roads.h"

#include <QCoreApplication>
#include <QThread>

#if defined(__linux__) && !BRIGHTLOOM_PORTABLE_POSIX
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#elif defined(Q_OS_MACOS)
#include <pthread/qos.h>
#endif

namespace brightloom {

void yieldToMainThread()
{
    thread_local bool lowered = false;
    if (lowered)
        return;
    lowered = true;
    // The main thread itself never lowers itself, whoever calls this from it.
    if (QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread())
        return;
#if defined(__linux__) && !BRIGHTLOOM_PORTABLE_POSIX
    // Niceness is a thread's own on Linux: this leaves the rest of the process as it is. Five steps
    // give the main thread about three times a worker's share of a busy processor, and leave
    // background work well ahead of other programs' idle-priority tasks.
    constexpr int workerNiceness = 5;
    const auto thread = static_cast<id_t>(::syscall(SYS_gettid));
    const int current = ::getpriority(PRIO_PROCESS, thread);
    ::setpriority(PRIO_PROCESS, thread, current + workerNiceness);
#elif defined(Q_OS_MACOS)
    pthread_set_qos_class_self_np(QOS_CLASS_UTILITY, 0);
#else
        // POSIX has no priority of a thread's own: the thread keeps the process's.
#endif
}

} // namespace brightloom
