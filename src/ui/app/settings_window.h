#pragma once

#include <QDialog>

class QPushButton;

namespace brightloom {
class SettingsView;
}

namespace brightloom::ui {

class LocationPicker;

// "Settings": where new projects compile, and "Sign out", which asks first. It draws the model it is
// given and follows it, so the new project screen and this window never disagree.
class SettingsWindow final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SettingsWindow)

public:
    explicit SettingsWindow(SettingsView& model, QWidget* parent = nullptr);

    SettingsView& model() const { return m_model; }
    LocationPicker* picker() const { return m_picker; }
    QPushButton* signOutButton() const { return m_signOut; }

private:
    void showModel();

    SettingsView& m_model;
    LocationPicker* m_picker;
    QPushButton* m_signOut;
};

} // namespace brightloom::ui
