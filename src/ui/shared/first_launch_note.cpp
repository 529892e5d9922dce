#include "first_launch_note.h"

#include "link_button.h"
#include "platform/desktop.h"
#include "platform/system_settings.h"

#include <QLabel>
#include <QVBoxLayout>

namespace brightloom::ui {

const QString FirstLaunchNote::text = QStringLiteral(
    "Open the .dmg and drag the app to Applications. Apps are ad-hoc signed, not notarized. If "
    "macOS blocks the first launch, use System Settings → Privacy & Security → Open Anyway.");
const QString FirstLaunchNote::buttonText = QStringLiteral("Open Privacy & Security settings");

FirstLaunchNote::FirstLaunchNote(Desktop* desktop, QWidget* parent) : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    auto* note = new QLabel(text, this);
    note->setWordWrap(true);
    note->setForegroundRole(QPalette::PlaceholderText);
    note->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont small = note->font();
    small.setPointSizeF(small.pointSizeF() * 0.92);
    note->setFont(small);
    layout->addWidget(note);
    auto* open = new LinkButton(buttonText, this);
    open->setFont(small);
    layout->addWidget(open, 0, Qt::AlignLeft);
    connect(open, &QPushButton::clicked, this, [desktop] {
        if (desktop)
            desktop->open(privacySettingsAddress());
    });
}

} // namespace brightloom::ui
