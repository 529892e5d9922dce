#pragma once

#include <QObject>
#include <QPointer>

namespace brightloom {

class API;

// Which screen the window shows: a spinner while the session is being restored, then the main
// screen or the sign-in screen. Restores the session once.
class RootView final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RootView)
    Q_PROPERTY(Screen screen READ screen NOTIFY screenChanged)

public:
    enum class Screen { checking, main, signIn };
    Q_ENUM(Screen)

    explicit RootView(API& api, QObject* parent = nullptr);

    Screen screen() const { return m_screen; }
    // Asks the service whether the stored session still holds; only the first call does anything.
    void start();
    bool started() const { return m_started; }
    // Begins, in the background, what the session check will need first (the TLS library), so that
    // it loads while the first frame is painted.
    void prepare();

Q_SIGNALS:
    void screenChanged();

private:
    void update();

    QPointer<API> m_api;
    Screen m_screen = Screen::checking;
    bool m_started = false;
};

} // namespace brightloom
