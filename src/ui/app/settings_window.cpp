#include "settings_window.h"

#include "shell/settings_view.h"
#include "ui/conversation/location_picker.h"

#include <QDialogButtonBox>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace brightloom::ui {

SettingsWindow::SettingsWindow(SettingsView& model, QWidget* parent)
    : QDialog(parent), m_model(model), m_picker(new LocationPicker(this)),
      m_signOut(new QPushButton(QStringLiteral("Sign out"), this))
{
    setWindowTitle(QStringLiteral("Settings"));
    setAccessibleName(QStringLiteral("Settings"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 20, 24, 16);
    layout->setSpacing(10);

    m_picker->setDescription(QStringLiteral("Where new apps are compiled. The new app screen offers the "
                                            "same choice."));
    layout->addWidget(m_picker);

    auto* line = new QFrame(this);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    layout->addWidget(line);

    m_signOut->setAccessibleName(QStringLiteral("Sign out"));
    m_signOut->setAutoDefault(false);
    layout->addWidget(m_signOut, 0, Qt::AlignLeft);
    layout->addStretch(1);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->button(QDialogButtonBox::Close)->setAccessibleName(QStringLiteral("Close"));
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);

    connect(m_picker, &LocationPicker::chosen, &m_model, &SettingsView::setLocation);
    connect(m_signOut, &QPushButton::clicked, &m_model, [this] {
        if (m_model.signOut())
            close();
    });
    connect(&m_model, &SettingsView::locationChanged, this, &SettingsWindow::showModel);
    connect(&m_model, &SettingsView::signedInChanged, this, &SettingsWindow::showModel);
    showModel();
}

void SettingsWindow::showModel()
{
    m_picker->setLocation(m_model.location());
    m_signOut->setEnabled(m_model.signedIn());
}

} // namespace brightloom::ui
