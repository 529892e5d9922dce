#pragma once

// A job's status and mode, as the client reads them: one of the values it knows, or `unknown`, which
// keeps the text the service sent so that it is written back as it came.

#include <QString>
#include <QStringView>
#include <array>
#include <ostream>
#include <utility>

namespace brightloom {

enum class JobStatus { queued, building, ready, failed, unknown };
enum class JobMode { source, sourceFix, unknown };

// How the service spells each known value, in the enum's order.
template <class Enum> struct JobStateNames;
template <> struct JobStateNames<JobStatus>
{
    static constexpr std::array<std::u16string_view, 4> names{u"queued", u"building", u"ready", u"failed"};
};
template <> struct JobStateNames<JobMode>
{
    static constexpr std::array<std::u16string_view, 2> names{u"source", u"source-fix"};
};

// A value of `Enum` with the text it was read from.
template <class Enum> class Coded
{
public:
    Coded() : Coded(Enum::unknown) {}
    // A known value, spelled as the service spells it.
    Coded(Enum value) : m_value(value), m_text(spelling(value)) {}
    // As read: the value whose spelling the text is exactly, else unknown.
    static Coded fromText(QString text)
    {
        Coded coded;
        coded.m_value = Enum::unknown;
        const auto& names = JobStateNames<Enum>::names;
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (QStringView(text) == QStringView(names[i].data(), qsizetype(names[i].size())))
                coded.m_value = Enum(i);
        }
        coded.m_text = std::move(text);
        return coded;
    }

    Enum value() const { return m_value; }
    // As the service wrote it: known values in their own spelling, unknown ones as they came.
    const QString& text() const { return m_text; }

    friend bool operator==(const Coded& a, const Coded& b) { return a.m_text == b.m_text; }
    friend bool operator==(const Coded& a, Enum b) { return a.m_value == b; }

private:
    static QString spelling(Enum value)
    {
        const auto& names = JobStateNames<Enum>::names;
        const auto i = std::size_t(value);
        return i < names.size() ? QString::fromUtf16(names[i].data(), qsizetype(names[i].size())) : QString();
    }

    Enum m_value;
    QString m_text;
};

// For test failures: the text as the service spelled it.
template <class Enum> std::ostream& operator<<(std::ostream& out, const Coded<Enum>& coded)
{
    return out << '"' << coded.text().toStdString() << '"';
}

} // namespace brightloom
