#pragma once

// What every screen model's actions share: a busy marker raised for the action's length, the error
// line cleared as it starts and set to the failure's text, nothing touched once the screen has gone;
// and the setter that assigns a field and tells about it only when it changed.

#include <QObject>
#include <QPointer>
#include <QString>
#include <exception>
#include <functional>
#include <optional>
#include <qcoro/qcorotask.h>
#include <utility>

namespace brightloom {

// Assigns `value` to `member` and emits `changed` of `owner`, when the two differ. Answers whether
// they did.
template <class Owner, class T, class U>
bool assignAndNotify(Owner* owner, T& member, U&& value, void (Owner::*changed)())
{
    if (member == value)
        return false;
    member = std::forward<U>(value);
    Q_EMIT(owner->*changed)();
    return true;
}

// One action of a screen, held for its length (a local of the coroutine that runs it):
//
//     ScreenAction action(this, &GithubSyncView::setBusy, &GithubSyncView::setError);
//     if (!co_await action.attempt(m_api->githubUnlink(m_projectId)))
//         co_return;            // failed (the error line says why), or the screen is gone
//     co_await load();          // still busy meanwhile
//
// The busy marker goes down when the action ends, unless the screen went meanwhile.
class ScreenAction
{
public:
    using Busy = std::function<void(bool)>;
    using Error = std::function<void(std::optional<QString>)>;

    // Raises `busy` (when given) and clears the error line (when given and `clearError`).
    ScreenAction(QObject* screen, Busy busy, Error error, bool clearError = true)
        : m_screen(screen), m_busy(std::move(busy)), m_error(std::move(error))
    {
        if (m_busy)
            m_busy(true);
        if (m_error && clearError)
            m_error(std::nullopt);
    }
    // The same with the screen's own setters: ScreenAction action(this, &Screen::setBusy, &Screen::setError).
    template <class Screen>
    ScreenAction(Screen* screen, void (Screen::*busy)(bool), void (Screen::*error)(std::optional<QString>),
                 bool clearError = true)
        : ScreenAction(screen, busy ? Busy([screen, busy](bool on) { (screen->*busy)(on); }) : Busy(),
                       error ? Error([screen, error](std::optional<QString> text) {
                           (screen->*error)(std::move(text));
                       })
                             : Error(),
                       clearError)
    {}
    ~ScreenAction()
    {
        if (m_screen && m_busy)
            m_busy(false);
    }
    ScreenAction(const ScreenAction&) = delete;
    ScreenAction& operator=(const ScreenAction&) = delete;

    bool screenAlive() const { return !m_screen.isNull(); }

    // Awaits `call`: its value, or nothing when it failed (the error line then says why) or when the
    // screen went meanwhile.
    template <class T> QCoro::Task<std::optional<T>> attempt(QCoro::Task<T> call)
    {
        std::optional<T> value;
        try {
            value = co_await std::move(call);
        } catch (const std::exception& e) {
            fail(QString::fromUtf8(e.what()));
        }
        if (!m_screen)
            co_return std::nullopt;
        co_return value;
    }
    // The same for a call without a value: whether it succeeded with the screen still there.
    QCoro::Task<bool> attempt(QCoro::Task<> call)
    {
        bool done = false;
        try {
            co_await std::move(call);
            done = true;
        } catch (const std::exception& e) {
            fail(QString::fromUtf8(e.what()));
        }
        co_return done&& m_screen;
    }

private:
    void fail(QString text)
    {
        if (m_screen && m_error)
            m_error(std::move(text));
    }

    QPointer<QObject> m_screen;
    Busy m_busy;
    Error m_error;
};

} // namespace brightloom
