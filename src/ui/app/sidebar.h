#pragma once

#include <QWidget>

class QLabel;
class QListView;

namespace brightloom {
class MainView;
} // namespace brightloom

namespace brightloom::ui {

class LinkButton;
class SidebarModel;

// The main screen's sidebar: "Brightloom", "New app", "My apps", the user's projects, and at the
// foot "Sign out" and the program's version. Choosing a row changes the main screen's selection.
class Sidebar final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Sidebar)

public:
    explicit Sidebar(MainView& main, QWidget* parent = nullptr);

    QListView* list() const { return m_list; }
    SidebarModel* model() const { return m_model; }
    LinkButton* signOutButton() const { return m_signOut; }
    QLabel* versionLabel() const { return m_version; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showSelection();

    MainView& m_main;
    SidebarModel* m_model;
    QListView* m_list;
    LinkButton* m_signOut;
    QLabel* m_version;
    bool m_following = false; // the list follows the model: its moves are no choice
};

} // namespace brightloom::ui
