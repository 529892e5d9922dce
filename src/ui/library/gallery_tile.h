#pragma once

#include "service/records.h"

#include <QFrame>

class QLabel;
class QPushButton;
class QToolButton;

namespace brightloom {
class IconLoader;
} // namespace brightloom

namespace brightloom::ui {

class ElidedLabel;
class IconTile;

// One app of the gallery: its icon, name, tagline and favorite count, the heart, "Details" and,
// when the app offers a template, "Use as template". The grid binds a tile to one app after
// another as the user scrolls.
class GalleryTile final : public QFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GalleryTile)

public:
    static const QString useText;      // "Use as template"
    static const QString startingText; // "Starting…"
    static const int iconSide = 56;

    explicit GalleryTile(IconLoader& icons, QWidget* parent = nullptr);

    // Shows `app` with the icon at `icon`, which starts loading if it has not yet.
    void bind(const GalleryApp& app, const std::optional<QUrl>& icon);
    // `favorite`: the heart is filled; `busy`: this app's template is being copied; `otherBusy`:
    // another app's is, so this one waits.
    void setState(bool favorite, bool busy, bool otherBusy);

    const GalleryApp& app() const { return m_app; }
    bool favorite() const { return m_favorite; }
    QLabel* name() const;
    IconTile* icon() const { return m_icon; }

    static QString favoriteCount(qint64 count);
    static QString heartLabel(const QString& name, bool favorite);

Q_SIGNALS:
    // The heart was pressed: the app should become a favorite when `on`, stop being one otherwise.
    void heartPressed(const QString& slug, bool on);
    void detailsPressed(const QString& slug);
    void usePressed(const QString& slug);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    GalleryApp m_app;
    bool m_favorite = false;
    IconTile* m_icon;
    QToolButton* m_heart;
    ElidedLabel* m_name;
    ElidedLabel* m_tagline;
    QLabel* m_count;
    QPushButton* m_details;
    QPushButton* m_use;
};

} // namespace brightloom::ui
