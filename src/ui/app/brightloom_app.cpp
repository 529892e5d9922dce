#include "brightloom_app.h"

#include "about_dialog.h"
#include "app_menus.h"
#include "browser_sign_in_page.h"
#include "dialog_frame.h"
#include "localbuild/local_builds.h"
#include "main_view_widget.h"
#include "platform/desktop.h"
#include "platform/notifier.h"
#include "root_view_widget.h"
#include "service/api.h"
#include "service/icon_loader.h"
#include "settings_window.h"
#include "ui/desktop/desktop_services.h"
#include "ui/desktop/single_instance.h"
#include "ui/desktop/widget_dialogs.h"
#include "ui/shared/logo_mark.h"
#include "window_screens.h"

#include <QCoreApplication>
#include <QGuiApplication>
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
    m_window->setMinimumSize(minimumWidth, minimumHeight);
    m_window->resize(1100, 720);
    m_dialogs->setWindow(m_window.get());
    m_signIn = std::make_unique<BrowserSignInPage>(instance, m_window.get());
    m_api->setSignInPage(m_signIn.get());

    auto* layout = new QVBoxLayout(m_window.get());
    layout->setContentsMargins(0, 0, 0, 0);
    m_menus = new AppMenus(*m_window);
    connect(m_menus, &AppMenus::settingsRequested, this, [this] { showSettings(); });
    connect(m_menus, &AppMenus::aboutRequested, this, [this] { showAbout(); });
    connect(m_menus, &AppMenus::quitRequested, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    m_root = rootScreen(*m_api,
                        windowScreens(*m_api, *m_local, *m_icons, *m_desktop, *m_dialogs, m_notifier.get()));
    layout->addWidget(m_root);
    // The root starts on the spinner: the main screen, and with it the navigation, comes later.
    connect(m_root, &RootViewWidget::mainScreenMade, this, &BrightloomApp::offerNavigation);
    // The application's icon, which its windows and the tray's notices take. Drawing it at full size
    // takes more than a millisecond, which the first frame, whose window the desktop shows with a
    // plain icon for that moment, need not wait for.
    connect(m_root, &RootViewWidget::firstFrameShown, this,
            [] { QGuiApplication::setWindowIcon(QIcon(QPixmap::fromImage(LogoMark::image(256)))); });
    connect(&instance, &SingleInstance::raiseRequested, this, &BrightloomApp::raise);
}

BrightloomApp::~BrightloomApp()
{
    // The window's screens hold the client and the controller by reference: they go first.
    m_window.reset();
}

void BrightloomApp::offerNavigation(MainViewWidget* main)
{
    m_menus->showNavigation(main->newAppAction(), main->destinationActions());
}

SettingsWindow& BrightloomApp::showSettings()
{
    if (!m_settings)
        m_settings = settingsScreen(*m_api, *m_dialogs, m_window.get());
    bringToFront(*m_settings);
    return *m_settings;
}

AboutDialog& BrightloomApp::showAbout()
{
    if (!m_about)
        m_about = new AboutDialog(m_window.get());
    bringToFront(*m_about);
    return *m_about;
}

void BrightloomApp::raise()
{
    bringToFront(*m_window);
}

} // namespace brightloom::ui
