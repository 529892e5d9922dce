#pragma once

#include <QObject>
#include <QPointer>
#include <memory>

class QWidget;

namespace brightloom {
class API;
class Desktop;
class IconLoader;
class LocalBuilds;
class Notifier;
} // namespace brightloom

namespace brightloom::ui {

class AboutDialog;
class AppMenus;
class BrowserSignInPage;
class MainViewWidget;
class RootViewWidget;
class SettingsWindow;
class SingleInstance;
class WidgetDialogs;

// The program: one service client and one local build controller for the whole run, the shared icon
// loader, the desktop's services, and the one window, whose content is the root screen.
class BrightloomApp final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BrightloomApp)

public:
    static constexpr int minimumWidth = 760;
    static constexpr int minimumHeight = 480;

    explicit BrightloomApp(SingleInstance& instance, QObject* parent = nullptr);
    ~BrightloomApp() override;

    QWidget& window() const { return *m_window; }
    API& api() const { return *m_api; }
    LocalBuilds& local() const { return *m_local; }
    RootViewWidget& root() const { return *m_root; }
    AppMenus& menus() const { return *m_menus; }

    // The Settings… and About Brightloom windows, made when first asked for and then brought back.
    SettingsWindow& showSettings();
    AboutDialog& showAbout();

    // Brings the window to the front (a second start of the program asks for this).
    void raise();

private:
    void offerNavigation(MainViewWidget* main);

    std::unique_ptr<API> m_api;
    std::unique_ptr<LocalBuilds> m_local;
    std::unique_ptr<IconLoader> m_icons;
    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<WidgetDialogs> m_dialogs;
    std::unique_ptr<Notifier> m_notifier;
    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<BrowserSignInPage> m_signIn;
    RootViewWidget* m_root = nullptr;
    AppMenus* m_menus = nullptr;
    QPointer<SettingsWindow> m_settings;
    QPointer<AboutDialog> m_about;
};

} // namespace brightloom::ui
