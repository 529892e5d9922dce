#pragma once

#include <QString>
#include <exception>
#include <string>
#include <utility>

namespace brightloom::LocalBuild {

// A source the vetting refuses. `reason` names the broken rule in lower-case prose; what() is the
// sentence the user sees.
class Rejected : public std::exception
{
public:
    explicit Rejected(QString why)
        : reason(std::move(why)), m_text("Refused to build this source: " + reason.toStdString())
    {}
    const char* what() const noexcept override { return m_text.c_str(); }

    QString reason;

private:
    std::string m_text;
};

} // namespace brightloom::LocalBuild
