#pragma once

#include <QList>
#include <QStringList>
#include <QTemporaryDir>
#include <chrono>

namespace brightloom::test {

class TempHome;

// Puts this process (and the children started with the home's environment) on the Mac's desktop
// road, with the stand-in "open" of `standInTools`, which writes each call into a folder of its own.
class MacDesktopLog
{
public:
    MacDesktopLog(TempHome& home, const QString& standInTools);

    // The calls made so far, each as its arguments, oldest first.
    QList<QStringList> calls() const;
    // Waits until `count` calls have been made, or the deadline passes; answers the calls there are.
    QList<QStringList> waitForCalls(int count,
                                    std::chrono::milliseconds limit = std::chrono::seconds(20)) const;

private:
    QTemporaryDir m_dir;
};

} // namespace brightloom::test
