#include "settings_window.h"

#include "dialog_frame.h"
#include "shell/settings_view.h"
#include "ui/conversation/location_picker.h"

#include <QFrame>
#include <QPushButton>
#include <QVBoxLayout>

namespace brightloom::ui {

SettingsWindow::SettingsWindow(SettingsView& model, QWidget* parent)
    : QDialog(parent), m_model(model), m_picker(new LocationPicker(this)),
      m_signOut(new QPushButton(QStringLiteral("Sign out"), this))
{
    setWindowTitle(QStringLiteral("Settings"));
    setAccessibleName(QStringLiteral("Settings"));
    auto* layout = dialogLayout(*this);
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

    addCloseButton(*this, *layout);

    connect(m_picker, &LocationPicker::chosen, &m_model, &SettingsView::setLocation);
    connect(m_signOut, &QPushButton::clicked, this, [this] {
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
