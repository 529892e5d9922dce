#pragma once

#include <QWidget>
#include <functional>

class QLabel;
class QListView;
class QProgressBar;
class QStackedLayout;

namespace brightloom {
class LibraryView;
struct LibraryApp;
} // namespace brightloom

namespace brightloom::ui {

class ErrorLabel;
class LibraryAppListModel;
class LibraryDetailViewWidget;

// "My apps": the list of every app built and, in its place once one is chosen, that app's page.
// The list loads each time it appears: when this widget is made and when the way back is taken.
class LibraryViewWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LibraryViewWidget)

public:
    // `onOpen` opens a project's conversation ("Change this app", and a new project started from a
    // version).
    // Makes the page of the chosen project, with the app as the list showed it when it is there.
    using MakeDetail = std::function<LibraryDetailViewWidget*(const QString& projectId,
                                                              const std::optional<LibraryApp>& listed)>;

    LibraryViewWidget(LibraryView& model, MakeDetail makeDetail, QWidget* parent = nullptr);
    ~LibraryViewWidget() override;

    LibraryView& model() const { return *m_model; }
    QWidget* listPage() const { return m_listPage; }
    QListView* list() const { return m_list; }
    QLabel* titleLabel() const { return m_title; }
    QLabel* subtitleLabel() const { return m_subtitle; }
    QLabel* emptyLabel() const { return m_empty; }
    ErrorLabel* errorLabel() const { return m_error; }
    QProgressBar* loadingIndicator() const { return m_loading; }
    // The app's page while one is open, else null.
    LibraryDetailViewWidget* detail() const { return m_detail; }

private:
    void showApps();
    void showSelection();
    void openRow(const QModelIndex& index);

    LibraryView* m_model;
    MakeDetail m_makeDetail;
    LibraryAppListModel* m_apps;
    QStackedLayout* m_stack;
    QWidget* m_listPage;
    QLabel* m_title;
    QLabel* m_subtitle;
    QProgressBar* m_loading;
    ErrorLabel* m_error;
    QLabel* m_empty;
    QListView* m_list;
    LibraryDetailViewWidget* m_detail = nullptr;
};

} // namespace brightloom::ui
