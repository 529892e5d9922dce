#pragma once

#include <QWidget>

class QButtonGroup;
class QLabel;
class QPushButton;

namespace brightloom::ui {

// "Compile on": a segmented choice between the cloud and this Mac, with one line under it that
// says what the choice means.
class LocationPicker final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LocationPicker)

public:
    static const QString label;     // "Compile on"
    static const QString cloudText; // "Brightloom cloud"
    static const QString localText; // "This Mac"

    explicit LocationPicker(QWidget* parent = nullptr);

    // "cloud" or "local".
    void setLocation(const QString& location);
    void setDescription(const QString& text);

    QPushButton* cloudButton() const { return m_cloud; }
    QPushButton* localButton() const { return m_local; }
    QLabel* description() const { return m_description; }

Q_SIGNALS:
    // The user chose "cloud" or "local".
    void chosen(const QString& location);

private:
    QPushButton* m_cloud;
    QPushButton* m_local;
    QButtonGroup* m_group;
    QLabel* m_description;
};

} // namespace brightloom::ui
