// Commands of the local build: fetching and vetting a job's source on this machine.

#include "arguments.h"
#include "commands.h"
#include "console.h"
#include "localbuild/source_fetch.h"
#include "service/api.h"

namespace brightloom::cli {

QCoro::Task<int> buildSource(API& api, QStringList words)
{
    const Arguments args = parse(words, {"job"}, {});
    const QString url = args.positional(0, "source URL");
    const QString job = args.required(QStringLiteral("job"));
    // A refusal or failure is thrown; the caller prints its text alone and exits with 1.
    const QString folder = co_await LocalBuild::fetchSource(api, url, job);
    out(folder);
    co_return 0;
}

} // namespace brightloom::cli
