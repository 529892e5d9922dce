#pragma once

#include <QString>

namespace brightloom {

// Shows a short notice outside the window (a build that finished while the user looked elsewhere).
// Without a notification service nothing happens and nothing waits.
class Notifier
{
public:
    virtual ~Notifier() = default;
    virtual void notify(const QString& title, const QString& body) = 0;
};

} // namespace brightloom
