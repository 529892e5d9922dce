#include "brightloom_app.h"

#include "browser_sign_in_page.h"
#include "localbuild/local_builds.h"
#include "platform/desktop.h"
#include "platform/notifier.h"
#include "root_view_widget.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "ui/desktop/desktop_services.h"
#include "ui/desktop/single_instance.h"
#include "ui/desktop/widget_dialogs.h"
#include "ui/shared/logo_mark.h"
#include "window_screens.h"

#include <QIcon>
#include <QVBoxLayout>

namespace brightloom::ui {

BrightloomApp::BrightloomApp(SingleInstance& instance, QObject* parent)
    : QObject(parent), m_api(std::make_unique<API>()), m_local(std::make_unique<LocalBuilds>()),
      m_icons(std::make_unique<IconLoader>()), m_desktop(systemDesktop()),
      m_dialogs(std::make_unique<WidgetDialogs>()), m_notifier(systemNotifier()),
      m_window(std::make_unique<QWidget>())
{
    m_window->setWindowTitle(QStringLiteral("Brightloom"));
    m_window->setWindowIcon(QIcon(QPixmap::fromImage(LogoMark::image(256))));
    m_window->setMinimumSize(minimumWidth, minimumHeight);
    m_window->resize(1100, 720);
    m_dialogs->setWindow(m_window.get());
    m_signIn = std::make_unique<BrowserSignInPage>(instance, m_window.get());
    m_api->setSignInPage(m_signIn.get());

    auto* layout = new QVBoxLayout(m_window.get());
    layout->setContentsMargins(0, 0, 0, 0);
    m_root = rootScreen(*m_api,
                        windowScreens(*m_api, *m_local, *m_icons, *m_desktop, *m_dialogs, m_notifier.get()));
    layout->addWidget(m_root);
    connect(&instance, &SingleInstance::raiseRequested, this, &BrightloomApp::raise);
}

BrightloomApp::~BrightloomApp()
{
    // The window's screens hold the client and the controller by reference: they go first.
    m_window.reset();
}

void BrightloomApp::raise()
{
    m_window->showNormal();
    m_window->raise();
    m_window->activateWindow();
}

} // namespace brightloom::ui
