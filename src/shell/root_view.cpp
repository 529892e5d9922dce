#include "root_view.h"

#include "service/api.h"

namespace brightloom {

RootView::RootView(API& api, QObject* parent) : QObject(parent), m_api(&api)
{
    connect(&api, &API::checkingChanged, this, &RootView::update);
    connect(&api, &API::signedInChanged, this, &RootView::update);
    update();
}

void RootView::start()
{
    if (m_started || !m_api)
        return;
    m_started = true;
    m_api->restoreSession(); // never throws; it ends by clearing `checking`
}

void RootView::prepare()
{
    if (m_api)
        m_api->beginTlsLoad();
}

void RootView::update()
{
    Screen screen = Screen::signIn;
    if (!m_api || m_api->checking())
        screen = Screen::checking;
    else if (m_api->signedIn())
        screen = Screen::main;
    if (screen == m_screen)
        return;
    m_screen = screen;
    Q_EMIT screenChanged();
}

} // namespace brightloom
