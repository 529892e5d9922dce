#include "palette.h"

#include "platform/desktop_road.h"
#include "platform/session_bus.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <QStyle>
#include <QStyleFactory>
#include <QStyleHints>
#include <memory>

namespace brightloom::ui {

QPalette lightPalette()
{
    const std::unique_ptr<QStyle> fusion(QStyleFactory::create(QStringLiteral("Fusion")));
    QPalette palette = fusion->standardPalette();
    palette.setColor(QPalette::Link, QColor(0, 102, 204));
    palette.setColor(QPalette::LinkVisited, QColor(0, 82, 164));
    palette.setColor(QPalette::PlaceholderText, QColor(0, 0, 0, 140));
    return palette;
}

QPalette darkPalette()
{
    QPalette palette;
    const QColor window(37, 37, 40);
    const QColor base(28, 28, 31);
    const QColor text(232, 232, 235);
    const QColor disabled(130, 130, 135);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, QColor(44, 44, 48));
    palette.setColor(QPalette::ToolTipBase, QColor(50, 50, 54));
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, QColor(255, 255, 255, 135));
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, QColor(52, 52, 56));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::Light, QColor(72, 72, 77));
    palette.setColor(QPalette::Midlight, QColor(58, 58, 62));
    palette.setColor(QPalette::Mid, QColor(82, 82, 88));
    palette.setColor(QPalette::Dark, QColor(22, 22, 24));
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::Highlight, QColor(42, 130, 218));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(100, 170, 255));
    palette.setColor(QPalette::LinkVisited, QColor(150, 190, 255));
    for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, disabled);
    palette.setColor(QPalette::Disabled, QPalette::Base, window);
    palette.setColor(QPalette::Disabled, QPalette::Button, QColor(45, 45, 48));
    return palette;
}

bool desktopPrefersDark()
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    // Qt 6.5 reads the desktop's colour scheme itself; before, or when it cannot tell, ask the portal.
    const Qt::ColorScheme scheme = QGuiApplication::styleHints()->colorScheme();
    if (scheme != Qt::ColorScheme::Unknown)
        return scheme == Qt::ColorScheme::Dark;
#endif
    // org.freedesktop.appearance color-scheme: 1 asks for dark, 2 for light, 0 leaves it open.
    QDBusConnection bus = sessionBusIfNamed();
    if (bus.isConnected()) {
        QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.portal.Desktop"),
                                                           QStringLiteral("/org/freedesktop/portal/desktop"),
                                                           QStringLiteral("org.freedesktop.portal.Settings"),
                                                           QStringLiteral("Read"));
        call << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme");
        const QDBusMessage reply = bus.call(call, QDBus::Block, 500);
        if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()) {
            QVariant value = reply.arguments().constFirst();
            while (value.canConvert<QDBusVariant>())
                value = value.value<QDBusVariant>().variant();
            const uint scheme = value.toUInt();
            if (scheme == 1 || scheme == 2)
                return scheme == 1;
        }
    }
    return QApplication::palette().color(QPalette::Window).lightness() < 128;
}

namespace {

// Both the portal and, from Qt 6.5, the style hints announce one switch of the desktop: the second
// finds the palette taken already and redraws nothing.
void takePalette(QApplication& app, bool dark)
{
    const QPalette wanted = dark ? darkPalette() : lightPalette();
    if (app.palette() != wanted)
        app.setPalette(wanted);
}

// Listens to the desktop portal's "SettingChanged" for the colour scheme.
class AppearanceWatcher final : public QObject
{
    Q_OBJECT

public:
    explicit AppearanceWatcher(QApplication& app) : QObject(&app), m_app(app)
    {
        QDBusConnection::sessionBus().connect(QStringLiteral("org.freedesktop.portal.Desktop"),
                                              QStringLiteral("/org/freedesktop/portal/desktop"),
                                              QStringLiteral("org.freedesktop.portal.Settings"),
                                              QStringLiteral("SettingChanged"), this,
                                              SLOT(settingChanged(QString, QString, QDBusVariant)));
    }

private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value)
    {
        if (group != QLatin1String("org.freedesktop.appearance") || key != QLatin1String("color-scheme"))
            return;
        const uint scheme = value.variant().toUInt();
        if (scheme == 1 || scheme == 2)
            takePalette(m_app, scheme == 1);
    }

private:
    QApplication& m_app;
};

} // namespace

void applyDesktopPalette(QApplication& app)
{
    // A Mac keeps its own style and palette, which follow the system's appearance by themselves.
    if (desktopRoad() == DesktopRoad::mac)
        return;
    // BRIGHTLOOM_APPEARANCE ("light" or "dark") overrides the desktop, for screenshots and tests.
    const QByteArray choice = qgetenv("BRIGHTLOOM_APPEARANCE");
    const bool dark = choice == "dark" || (choice != "light" && desktopPrefersDark());
    app.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    app.setPalette(dark ? darkPalette() : lightPalette());
    if (!choice.isEmpty())
        return;
    if (sessionBusIfNamed().isConnected())
        new AppearanceWatcher(app);
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    // Qt 6.5 added the colour scheme to the style hints, with a signal when the desktop changes it.
    // An unknown scheme leaves the palette as it is.
    QObject::connect(QGuiApplication::styleHints(), &QStyleHints::colorSchemeChanged, &app,
                     [&app](Qt::ColorScheme scheme) {
                         if (scheme != Qt::ColorScheme::Unknown)
                             takePalette(app, scheme == Qt::ColorScheme::Dark);
                     });
#endif
}

} // namespace brightloom::ui

#include "palette.moc"
