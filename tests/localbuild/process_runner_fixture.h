// Running tools as child processes, shared by the runner's tests.
#pragma once

#include "localbuild/process_runner.h"
#include "scripts.h"
#include "task_runner.h"
#include "threads/system_roads.h"
#include "tick_watch.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTimer>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <unistd.h>
#include <vector>

namespace brightloom::test {

// Sets variables of this process for one test and puts the old values back afterwards.
class EnvOverride
{
public:
    ~EnvOverride()
    {
        for (auto it = m_saved.crbegin(); it != m_saved.crend(); ++it) {
            if (it->second)
                qputenv(it->first.constData(), *it->second);
            else
                qunsetenv(it->first.constData());
        }
    }
    void set(const char* name, const QByteArray& value)
    {
        std::optional<QByteArray> old;
        if (qEnvironmentVariableIsSet(name))
            old = qgetenv(name);
        m_saved.append({QByteArray(name), old});
        qputenv(name, value);
    }

private:
    QList<QPair<QByteArray, std::optional<QByteArray>>> m_saved;
};

// Chunks handed to the observer, gathered from whichever thread calls it.
class Observed
{
public:
    LocalBuild::OutputObserver observer()
    {
        return [this](const QString& chunk) {
            QMutexLocker lock(&m_mutex);
            m_chunks.append(chunk);
        };
    }
    QStringList chunks()
    {
        QMutexLocker lock(&m_mutex);
        return m_chunks;
    }

private:
    QMutex m_mutex;
    QStringList m_chunks;
};

inline LocalBuild::Output runToEnd(QString executable, QStringList arguments, std::optional<QString> cwd = {},
                                   LocalBuild::RunEnd timeout = 30, QMap<QString, QString> env = {},
                                   LocalBuild::OutputObserver onOutput = {})
{
    auto outcome = run(LocalBuild::run(std::move(executable), std::move(arguments), std::move(cwd), timeout,
                                       std::move(env), std::move(onOutput)),
                       std::chrono::seconds(60));
    EXPECT_TRUE(outcome.ok()) << outcome.errorText().toStdString();
    return outcome.value.value_or(LocalBuild::Output{-99, QByteArray("<did not finish>")});
}

// Whether no process has the id any more: an ended process that was not ours is reaped by the
// system's first process soon after it ends, so this is polled with a deadline.
inline bool gone(pid_t pid)
{
    return ::kill(pid, 0) != 0 && errno == ESRCH;
}

// The pid a script wrote to `file`, once it is there.
inline pid_t pidIn(const QString& file)
{
    spinUntil([&] { return QFile::exists(file); }, std::chrono::seconds(20));
    QFile f(file);
    return f.open(QIODevice::ReadOnly) ? pid_t(f.readAll().trimmed().toInt()) : -1;
}

inline QStringList lines(const QString& text)
{
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

class Runner : public ::testing::Test
{
protected:
    Scripts scripts;
};

} // namespace brightloom::test
