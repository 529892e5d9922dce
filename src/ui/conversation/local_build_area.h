#pragma once

#include "conversation/status_area.h"

#include <QWidget>

class QLabel;
class QPlainTextEdit;

namespace brightloom {
class IconLoader;
} // namespace brightloom

namespace brightloom::ui {

class AppHeader;
class ChatButtonRow;
class ProgressRow;

// The build of a source job on this machine: the app's header, the phase with a spinner while it
// runs, and once it ended either where the app was saved with its buttons and the first-launch note,
// or why it failed with the tools' log and "Try again".
class LocalBuildArea final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LocalBuildArea)

public:
    explicit LocalBuildArea(IconLoader& icons, QWidget* parent = nullptr);

    void setArea(const LocalArea& area);

    AppHeader* header() const { return m_header; }
    QLabel* errorLabel() const { return m_error; }
    QPlainTextEdit* logBox() const { return m_log; }
    ChatButtonRow* buttons() const { return m_buttons; }
    // The widgets Tab visits, in order.
    QList<QWidget*> focusChain() const;

Q_SIGNALS:
    void triggered(const brightloom::ChatButton& button);

private:
    AppHeader* m_header;
    ProgressRow* m_phase;
    QLabel* m_error;
    QPlainTextEdit* m_log;
    ChatButtonRow* m_buttons;
    QLabel* m_note;
};

} // namespace brightloom::ui
