#pragma once

#include "conversation/status_area.h"

#include <QList>
#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace brightloom {
class Desktop;
class IconLoader;
} // namespace brightloom

namespace brightloom::ui {

class AppHeader;
class ChatButtonRow;
class FirstLaunchNote;

// The app the service built: its header, the download buttons (the disk image prominent, the
// archive in the archive button's style), where each download was saved with what can be done with
// it, and the first-launch note.
class DownloadAreaWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DownloadAreaWidget)

public:
    DownloadAreaWidget(IconLoader& icons, Desktop* desktop, QWidget* parent = nullptr);

    void setArea(const DownloadArea& area);

    AppHeader* header() const { return m_header; }
    ChatButtonRow* downloads() const { return m_downloads; }
    // One "Saved to …" label per finished download, in order.
    QList<QLabel*> savedLabels() const;
    QList<ChatButtonRow*> savedButtons() const;
    QList<QWidget*> focusChain() const;

Q_SIGNALS:
    void triggered(const brightloom::ChatButton& button);

private:
    AppHeader* m_header;
    ChatButtonRow* m_downloads;
    QWidget* m_savedBox;
    QVBoxLayout* m_savedLayout;
    QList<SavedRow> m_saved;
    FirstLaunchNote* m_note;
};

} // namespace brightloom::ui
