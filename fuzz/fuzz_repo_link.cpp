// Repository link detection on arbitrary text. A crash, a link that breaks its own form, or an
// answer that changes between two runs over the same text is a finding.

#include "conversation/repo_link.h"
#include "require.h"

#include <QString>
#include <cstdint>
#include <cstdlib>

using namespace brightloom;
using brightloom::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    const std::optional<RepoLink> link = RepoLink::detect(text);
    require(link == RepoLink::detect(text));
    if (!link)
        return 0;
    require(link->distinct >= 1);
    require(!link->name.isEmpty() && !link->name.endsWith(QLatin1Char('.')));
    require(link->url.startsWith(RepoLink::hostAddress + QLatin1Char('/')));
    require(link->url.endsWith(QLatin1Char('/') + link->name));
    require(link->url.count(QLatin1Char('/')) == 4);
    if (link->ref) {
        require(!link->ref->isEmpty() && !link->ref->contains(QStringLiteral("..")));
        require(!link->ref->endsWith(QLatin1Char('.')) && !link->ref->endsWith(QLatin1Char('/')));
    }
    return 0;
}
