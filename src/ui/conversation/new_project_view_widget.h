#pragma once

#include "ui/shared/error_label.h"

#include <QWidget>
#include <functional>

class QLabel;
class QScrollArea;

namespace brightloom {
class GalleryView;
class IconLoader;
class NewProjectView;
} // namespace brightloom

namespace brightloom::ui {

class BusySpinner;
class Composer;
class GalleryViewWidget;
class LinkNoticeView;
class LocationPicker;

// The new project screen: the request, where it compiles, and below them the gallery of templates,
// in one scrolling column at most 900 wide. The main screen makes a fresh one each time it shows
// it; `onCreated` gets the id of a project started here or from a template.
class NewProjectViewWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(NewProjectViewWidget)

public:
    static const QString title; // "Describe it. Get a Mac app."
    static const QString subtitle;
    static const QString placeholder; // "Describe the Mac app you want…"
    static const QString starting;    // "Starting…"

    // The screen over its model, with the template gallery under it.
    NewProjectViewWidget(NewProjectView& model, GalleryView& gallery, IconLoader& icons,
                         QWidget* parent = nullptr);
    ~NewProjectViewWidget() override;

    NewProjectView& model() const { return *m_model; }
    Composer* composer() const { return m_composer; }
    LinkNoticeView* notice() const { return m_notice; }
    QWidget* busyRow() const { return m_busy; }
    QLabel* errorLabel() const { return m_error; }
    LocationPicker* picker() const { return m_picker; }
    GalleryViewWidget* gallery() const { return m_gallery; }
    QWidget* column() const { return m_column; }
    QScrollArea* scrollArea() const { return m_scroll; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void showBusy();
    void showError();

    NewProjectView* m_model;
    QScrollArea* m_scroll;
    QWidget* m_column;
    Composer* m_composer;
    QWidget* m_busy;
    LinkNoticeView* m_notice;
    ErrorLabel* m_error;
    LocationPicker* m_picker;
    GalleryViewWidget* m_gallery;
    bool m_appeared = false;
};

} // namespace brightloom::ui
