#pragma once

#include <QUrl>
#include <QWidget>
#include <optional>

class QLabel;

namespace brightloom {
class IconLoader;
} // namespace brightloom

namespace brightloom::ui {

class IconTile;

// A built app's icon, name and version.
class AppHeader final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(AppHeader)

public:
    explicit AppHeader(IconLoader& icons, QWidget* parent = nullptr);

    void setApp(const QString& name, const std::optional<QString>& version, const std::optional<QUrl>& icon);

    IconTile* tile() const { return m_tile; }
    QLabel* nameLabel() const { return m_name; }
    QLabel* versionLabel() const { return m_version; }

private:
    IconTile* m_tile;
    QLabel* m_name;
    QLabel* m_version;
};

} // namespace brightloom::ui
