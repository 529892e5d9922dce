#include "root_view_widget.h"

#include "auth_view_widget.h"
#include "main_view_widget.h"
#include "shell/root_view.h"
#include "ui/shared/busy_spinner.h"

#include <QStackedLayout>
#include <QVBoxLayout>

namespace brightloom::ui {

RootViewWidget::RootViewWidget(RootView& model, Screens screens, QWidget* parent)
    : QWidget(parent), m_screens(std::move(screens)), m_model(&model), m_stack(new QStackedLayout(this)),
      m_spinnerPage(new QWidget(this))
{
    auto* centre = new QVBoxLayout(m_spinnerPage);
    centre->addStretch(1);
    centre->addWidget(new BusySpinner(28, m_spinnerPage), 0, Qt::AlignCenter);
    centre->addStretch(1);
    m_stack->addWidget(m_spinnerPage);
    connect(m_model, &RootView::screenChanged, this, &RootViewWidget::showScreen);
    showScreen();
}

AuthViewWidget* RootViewWidget::authView() const
{
    return qobject_cast<AuthViewWidget*>(m_auth.data());
}

MainViewWidget* RootViewWidget::mainView() const
{
    return qobject_cast<MainViewWidget*>(m_main.data());
}

void RootViewWidget::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_model->start();
}

void RootViewWidget::showScreen()
{
    switch (m_model->screen()) {
    case RootView::Screen::checking:
        m_stack->setCurrentWidget(m_spinnerPage);
        break;
    case RootView::Screen::signIn:
        if (m_main) {
            m_stack->removeWidget(m_main);
            m_main->deleteLater();
            m_main = nullptr;
        }
        if (!m_auth) {
            m_auth = m_screens.signIn ? m_screens.signIn() : new QWidget;
            m_stack->addWidget(m_auth);
        }
        m_stack->setCurrentWidget(m_auth);
        m_auth->setFocus();
        break;
    case RootView::Screen::main:
        if (m_auth) {
            m_stack->removeWidget(m_auth);
            m_auth->deleteLater();
            m_auth = nullptr;
        }
        if (!m_main) {
            m_main = m_screens.main ? m_screens.main() : new QWidget;
            m_stack->addWidget(m_main);
            if (MainViewWidget* main = mainView())
                Q_EMIT mainScreenMade(main);
        }
        m_stack->setCurrentWidget(m_main);
        break;
    }
}

} // namespace brightloom::ui
