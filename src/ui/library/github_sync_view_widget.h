#pragma once

#include <QFrame>

class QComboBox;
class QLabel;
class QPushButton;

namespace brightloom {
class Desktop;
class GithubSyncView;
} // namespace brightloom

namespace brightloom::ui {

class ErrorLabel;
class LinkButton;

// The GitHub panel of one app: whether GitHub sync is available, connecting an account on the
// service's page, choosing a repository, and pushing or unlinking once linked. Below, the last
// push's outcome and the last error.
class GithubSyncViewWidget final : public QFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GithubSyncViewWidget)

public:
    GithubSyncViewWidget(GithubSyncView& model, Desktop& desktop, QWidget* parent = nullptr);

    GithubSyncView& model() const { return m_model; }

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showState();
    void showRepos();
    void showBusy();
    void showOutcome();

    GithubSyncView& m_model;
    Desktop& m_desktop;
    QWidget* m_unavailable;
    QWidget* m_connect;
    QPushButton* m_connectButton;
    QWidget* m_linked;
    QLabel* m_linkedText;
    QLabel* m_noSource;
    QPushButton* m_push;
    QPushButton* m_unlink;
    QWidget* m_choose;
    QLabel* m_chooseText;
    QLabel* m_noRepos;
    QWidget* m_pickerRow;
    QComboBox* m_picker;
    QPushButton* m_use;
    QLabel* m_message;
    LinkButton* m_commit;
    ErrorLabel* m_error;
};

} // namespace brightloom::ui
