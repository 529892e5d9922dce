#include "link_notice.h"

namespace brightloom {

const QString LinkNotice::foundBefore = QStringLiteral("Found the GitHub repo ");
const QString LinkNotice::foundAfter = QStringLiteral(" in your request.");
const QString LinkNotice::explanation = QStringLiteral(
    "When you build, you can import it as the basis for your app (unsafe mode): the cloud adapts its code "
    "and your Mac compiles it. Many repos will not convert cleanly, and third-party libraries are replaced "
    "with Apple frameworks.");
const QString LinkNotice::missingXcode =
    QStringLiteral("Importing needs Xcode on this Mac. Install it from the App Store and open it once.");

QString LinkNotice::distinctSentence() const
{
    if (distinct <= 1)
        return QString();
    return QStringLiteral(" You named ") + QString::number(distinct) +
           QStringLiteral(" repositories; only the first is imported.");
}

QString LinkNotice::foundLine() const
{
    return foundBefore + name + foundAfter + distinctSentence();
}

} // namespace brightloom
