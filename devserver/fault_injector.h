#pragma once

// Replies that tests ask to go wrong: the next N requests to a path answer with a chosen status and
// body, arrive late, or are cut off part way. Held in memory only; a restart forgets them.

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace brightloom::devserver {

struct Fault
{
    QByteArray method;   // empty: any method
    QStringList pattern; // path segments; "*" matches any one segment, a final "**" the rest
    int remaining = 1;
    int status = 0; // 0: the real answer, otherwise this status with `body`
    QByteArray body;
    QByteArray contentType;
    int delayMs = 0;
    bool truncate = false;
};

class FaultInjector
{
public:
    void add(const Fault& fault);
    void clear();
    // The first fault that matches, counted as used.
    std::optional<Fault> take(const QByteArray& method, const QStringList& path);
    int pending() const { return int(m_faults.size()); }

private:
    QList<Fault> m_faults;
};

} // namespace brightloom::devserver
