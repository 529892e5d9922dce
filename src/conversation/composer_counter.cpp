#include "composer_counter.h"

namespace brightloom {

ComposerCounter ComposerCounter::forCount(qsizetype count, qsizetype maxLength)
{
    ComposerCounter counter;
    counter.shown = count >= threshold(maxLength);
    counter.atLimit = count >= maxLength;
    counter.text = QString::number(count) + QLatin1Char('/') + QString::number(maxLength);
    counter.spoken = QString::number(count) + QStringLiteral(" of ") + QString::number(maxLength) +
                     QStringLiteral(" characters");
    return counter;
}

} // namespace brightloom
