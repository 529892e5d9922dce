#pragma once

#include <QCache>
#include <QHash>
#include <QImage>
#include <QObject>
#include <QSet>
#include <QString>
#include <QUrl>

class QThread;

namespace brightloom {

// Fetches app icons for every screen: each address is loaded once, kept in memory (bounded) and on
// disk in the cache folder, so a second run shows icons without asking the network again. An icon
// that fails is remembered as failed and not asked for again in this run. The network and the disk
// cache work on a thread of their own: writing a thousand cache files must not stall the window.
class IconLoader final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(IconLoader)

public:
    enum class State { unknown, loading, ready, failed };

    // Icons larger than this are refused; they are shown at 96 points at most.
    static constexpr qint64 maxBytes = 8 * 1024 * 1024;
    // Decoded icons are kept at most this many pixels wide and high.
    static constexpr int maxSide = 256;

    // `cacheFolder` empty: no disk cache.
    explicit IconLoader(const QString& cacheFolder = defaultCacheFolder(), QObject* parent = nullptr);
    ~IconLoader() override;

    // "Brightloom/icons" in the user's cache folder (~/.cache here).
    static QString defaultCacheFolder();
    // Where earlier versions kept it, in a folder named twice (~/.cache/Brightloom/Brightloom/icons):
    // a default loader takes it over when it has no folder of its own yet.
    static QString formerCacheFolder();

    State state(const QUrl& url) const;
    // The decoded icon when it is ready, else a null image.
    QImage image(const QUrl& url) const;
    // Starts loading unless the address is ready, loading or failed already.
    void load(const QUrl& url);

    // How many loads went to the network stack (disk-cache answers included); for tests.
    int loadsStarted() const { return m_loadsStarted; }

Q_SIGNALS:
    // The load of `url` ended; state() tells how.
    void finished(const QUrl& url);

private:
    void fetched(const QUrl& url, const QImage& image);

    QThread* m_thread;
    QObject* m_fetcher; // lives on m_thread
    QCache<QUrl, QImage> m_images;
    QSet<QUrl> m_loading;
    QSet<QUrl> m_failed;
    int m_loadsStarted = 0;
};

} // namespace brightloom
