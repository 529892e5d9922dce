#pragma once

#include <QWidget>
#include <functional>

class QLabel;
class QListView;
class QProgressBar;
class QStackedLayout;

namespace brightloom {
class API;
class Desktop;
class IconLoader;
class LibraryView;
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
    LibraryViewWidget(API& api, IconLoader& icons, Desktop& desktop, std::function<void(QString)> onOpen,
                      QWidget* parent = nullptr);
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

    API& m_api;
    IconLoader& m_icons;
    Desktop& m_desktop;
    LibraryView* m_model;
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
