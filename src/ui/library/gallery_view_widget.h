#pragma once

#include "ui/shared/error_label.h"

#include <QWidget>
#include <functional>

class QLabel;
class QToolButton;

namespace brightloom {
class GalleryView;
class IconLoader;
} // namespace brightloom

namespace brightloom::ui {

class BusySpinner;
class GalleryGrid;

// The gallery: its header with the favorites filter, the last error, and the grid of apps. It
// loads when first shown and sits in a scroll area of the screen that holds it, which the grid
// follows to make only the tiles in view.
class GalleryViewWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GalleryViewWidget)

public:
    static const QString title;           // "Start from a template"
    static const QString line;            // the line under it
    static const QString favoritesToggle; // "My favorites"
    static const QString noFavorites;     // "No favorites yet."
    static const QString noApps;          // "No apps to show right now."

    GalleryViewWidget(GalleryView& model, IconLoader& icons, QWidget* parent = nullptr);
    ~GalleryViewWidget() override;

    GalleryView& model() const { return *m_model; }
    GalleryGrid* grid() const { return m_grid; }
    QLabel* errorLabel() const { return m_error; }
    QLabel* emptyLabel() const { return m_empty; }
    BusySpinner* spinner() const { return m_spinner; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void showLoadState();
    void showFilter();
    void showError();

    GalleryView* m_model;
    QToolButton* m_favorites;
    ErrorLabel* m_error;
    BusySpinner* m_spinner;
    QLabel* m_empty;
    GalleryGrid* m_grid;
    bool m_loadStarted = false;
};

} // namespace brightloom::ui
