#include "unsafe_banner.h"

#include "symbols.h"

#include <QLabel>

namespace brightloom::ui {

const QString UnsafeBanner::boldText = QStringLiteral("Made from an imported GitHub repo (unsafe mode).");
const QString UnsafeBanner::restText = QStringLiteral(
    " The code was adapted from someone else's project and compiled on this Mac. Brightloom has "
    "not reviewed it. It can't be shared as a template or listed in the gallery.");

UnsafeBanner::UnsafeBanner(QWidget* parent)
    : BannerFrame(symbol(Symbol::warning),
                  QStringLiteral("<b>") + boldText.toHtmlEscaped() + QStringLiteral("</b>") +
                      restText.toHtmlEscaped(),
                  QColor(255, 149, 0), parent)
{
    label()->setAccessibleDescription(QStringLiteral("Unsafe project"));
}

} // namespace brightloom::ui
