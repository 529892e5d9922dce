#pragma once

#include "library/library_detail_view.h"
#include "service/records.h"

#include <QWidget>
#include <memory>
#include <optional>

class QLabel;
class QProgressBar;
class QPushButton;
class QToolButton;

namespace brightloom {
class Desktop;
class GithubSyncView;
class IconLoader;
} // namespace brightloom

namespace brightloom::ui {

class AppHeader;
class ErrorLabel;
class GithubSyncViewWidget;
class RowPage;
class TreeRowWidget;
class UnsafeBanner;
class VersionRowWidget;

// The page of one library app, in place of the list: a way back, its name, where it started from,
// "Change this app", its versions with their downloads, the GitHub panel and the version tree.
class LibraryDetailViewWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LibraryDetailViewWidget)

public:
    // `listed` is the app as the list showed it, so the page has a name while it loads.
    // `listed` is the app as the library list showed it, drawn until the project's own record comes.
    LibraryDetailViewWidget(LibraryDetailView& model, GithubSyncView& github, IconLoader& icons,
                            Desktop& desktop, const std::optional<LibraryApp>& listed,
                            QWidget* parent = nullptr);
    ~LibraryDetailViewWidget() override;

    LibraryDetailView& model() const { return *m_model; }
    GithubSyncView& github() const { return *m_github; }

    QToolButton* backButton() const { return m_back; }
    AppHeader* header() const { return m_header; }
    UnsafeBanner* unsafeBanner() const { return m_unsafe; }
    QLabel* originLabel() const { return m_origin; }
    QPushButton* changeButton() const { return m_change; }
    QProgressBar* loadingIndicator() const { return m_loading; }
    ErrorLabel* errorLabel() const { return m_error; }
    ErrorLabel* downloadErrorLabel() const { return m_downloadError; }
    GithubSyncViewWidget* githubPanel() const { return m_githubPanel; }
    RowPage* page() const { return m_page; }
    // The rows on screen now; null for a row that is scrolled away.
    VersionRowWidget* versionRow(int index) const;
    TreeRowWidget* treeRow(int index) const;
    // Brings the tree row `index` to the top of the page.
    void scrollToTreeRow(int index);

Q_SIGNALS:
    // The way back to the list was taken.
    void back();

private:
    class VersionRowSource;
    class TreeRowSource;

    void showDetail();
    void showStatus();
    void showForking();
    void showDownloads();

    LibraryDetailView* m_model;
    GithubSyncView* m_github;
    std::unique_ptr<VersionRowSource> m_versionRows;
    std::unique_ptr<TreeRowSource> m_treeRows;
    QToolButton* m_back;
    ErrorLabel* m_error;
    RowPage* m_page;
    AppHeader* m_header;
    QPushButton* m_change;
    UnsafeBanner* m_unsafe;
    QLabel* m_origin;
    QProgressBar* m_loading;
    QWidget* m_versionsHeader;
    ErrorLabel* m_downloadError;
    QWidget* m_middle;
    GithubSyncViewWidget* m_githubPanel;
};

} // namespace brightloom::ui
