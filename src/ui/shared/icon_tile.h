#pragma once

#include <QUrl>
#include <QWidget>
#include <optional>

namespace brightloom {
class IconLoader;
}

namespace brightloom::ui {

// An app's icon in a rounded square: the loaded picture, or the name's letter tile while it loads,
// when there is none, or when it failed.
class IconTile final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(IconTile)

public:
    IconTile(IconLoader& icons, int side, QWidget* parent = nullptr);

    // Shows the icon at `url` (none: the letter tile) for the app called `name`.
    void setApp(const QString& name, const std::optional<QUrl>& url);
    // Whether the picture (not the letter tile) is drawn.
    bool showsPicture() const;

    QSize sizeHint() const override { return QSize(m_side, m_side); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    IconLoader& m_icons;
    int m_side;
    QString m_name;
    std::optional<QUrl> m_url;
};

} // namespace brightloom::ui
