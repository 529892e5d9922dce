#include "fault_injector.h"

namespace brightloom::devserver {

namespace {

bool matches(const QStringList& pattern, const QStringList& path)
{
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == QLatin1String("**") && i == pattern.size() - 1)
            return path.size() >= i;
        if (i >= path.size())
            return false;
        if (pattern[i] != QLatin1String("*") && pattern[i] != path[i])
            return false;
    }
    return pattern.size() == path.size();
}

} // namespace

void FaultInjector::add(const Fault& fault)
{
    m_faults.append(fault);
}

void FaultInjector::clear()
{
    m_faults.clear();
}

std::optional<Fault> FaultInjector::take(const QByteArray& method, const QStringList& path)
{
    for (qsizetype i = 0; i < m_faults.size(); ++i) {
        Fault& fault = m_faults[i];
        if (!fault.method.isEmpty() && fault.method.compare(method, Qt::CaseInsensitive) != 0)
            continue;
        if (!matches(fault.pattern, path))
            continue;
        const Fault used = fault;
        if (--fault.remaining <= 0)
            m_faults.removeAt(i);
        return used;
    }
    return std::nullopt;
}

} // namespace brightloom::devserver
