#pragma once

#include <QMetaType>
#include <QString>
#include <optional>

namespace brightloom {

// Where one job's build on this machine stands.
struct LocalState
{
    // In the order a build moves through them.
    enum class Phase { downloading, compiling, packaging, askingForFix, done, failed };

    Phase phase = Phase::downloading;
    int attempt = 0;              // fix requests that preceded this job
    QString log;                  // the tools' newest output
    std::optional<QString> app;   // absolute path of the saved bundle, once done
    std::optional<QString> error; // why the build stopped

    bool operator==(const LocalState&) const = default;
};

} // namespace brightloom

Q_DECLARE_METATYPE(brightloom::LocalState)
