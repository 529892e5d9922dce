#include "root_view_widget.h"

#include "auth_view_widget.h"
#include "main_view_widget.h"
#include "shell/root_view.h"
#include "ui/shared/busy_spinner.h"

#include <QEvent>
#include <QStackedLayout>
#include <QTimer>
#include <QVBoxLayout>

namespace brightloom::ui {

RootViewWidget::RootViewWidget(RootView& model, Screens screens, QWidget* parent)
    : QWidget(parent), m_screens(std::move(screens)), m_model(&model), m_stack(new QStackedLayout(this)),
      m_spinnerPage(new QWidget(this)), m_noFrame(new QTimer(this))
{
    m_noFrame->setSingleShot(true);
    m_noFrame->setInterval(std::chrono::milliseconds(250));
    connect(m_noFrame, &QTimer::timeout, this, &RootViewWidget::startChecking);
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
    // The screen made during the check is not the main screen until it is shown.
    if (!m_main || m_stack->currentWidget() != m_main.data())
        return nullptr;
    return qobject_cast<MainViewWidget*>(m_main.data());
}

void RootViewWidget::setFirstFrameAtTheLatest(std::chrono::milliseconds wait)
{
    m_noFrame->setInterval(wait);
}

void RootViewWidget::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_startQueued)
        return;
    m_startQueued = true;
    // The check waits for the spinner's first frame, so that nothing it needs (the session's store,
    // the TLS library) comes before that frame. A window that is never painted (started minimised,
    // or on a platform that paints nothing) starts it a moment later all the same.
    m_spinnerPage->installEventFilter(this);
    m_noFrame->start();
}

bool RootViewWidget::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_spinnerPage && event->type() == QEvent::Paint) {
        m_spinnerPage->removeEventFilter(this);
        m_noFrame->stop();
        // The TLS library loads on the pool while this frame is drawn and put on the screen; the
        // check itself is queued, so that the frame reaches the screen first.
        m_model->prepare();
        QMetaObject::invokeMethod(this, &RootViewWidget::startChecking, Qt::QueuedConnection);
    }
    return QWidget::eventFilter(watched, event);
}

void RootViewWidget::startChecking()
{
    // Reached from the frame or from the timer, whichever came first: each stops the other.
    m_noFrame->stop();
    m_spinnerPage->removeEventFilter(this);
    m_model->start();
    // Queued: the check's request goes out first, and the screen is made while it waits.
    QMetaObject::invokeMethod(this, &RootViewWidget::prepareMain, Qt::QueuedConnection);
    Q_EMIT firstFrameShown();
}

void RootViewWidget::prepareMain()
{
    if (m_model->screen() != RootView::Screen::checking || m_main || !m_screens.main)
        return;
    // Made while the window waits for the service, the screen is ready when the session holds; it
    // asks the service nothing until it is shown (each part loads as it appears). A check that ends
    // signed out drops it as it drops any main screen.
    m_main = m_screens.main();
    m_stack->addWidget(m_main); // hidden: the spinner stays in front
    m_main->ensurePolished();
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
        }
        m_stack->setCurrentWidget(m_main);
        if (MainViewWidget* main = mainView())
            Q_EMIT mainScreenMade(main);
        break;
    }
}

} // namespace brightloom::ui
