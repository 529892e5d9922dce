#include "icon_loader.h"

#include "service/extra_trust.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QNetworkReply>
#include <QStandardPaths>
#include <QThread>

namespace brightloom {
namespace {

// Reads an icon, refusing absurd dimensions before any pixel is allocated, and scales it down to
// what a tile can show.
QImage decodeIcon(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (!size.isValid() || size.width() > 4096 || size.height() > 4096)
        return {};
    if (size.width() > IconLoader::maxSide || size.height() > IconLoader::maxSide)
        reader.setScaledSize(size.scaled(IconLoader::maxSide, IconLoader::maxSide, Qt::KeepAspectRatio));
    QImage image = reader.read();
    if (image.isNull())
        return {};
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

// The worker thread's side: the network session with its disk cache. Each fetch ends in one
// fetched() with the decoded icon, or a null image when it failed.
class Fetcher final : public QObject
{
    Q_OBJECT

public:
    Fetcher(QString cacheFolder, QString formerFolder)
        : m_network(new QNetworkAccessManager(this)), m_cacheFolder(std::move(cacheFolder)),
          m_formerFolder(std::move(formerFolder))
    {}

    // On the fetcher's thread, before its first fetch: the disk cache, in the folder an earlier
    // version used when this one has none yet.
    void openCache()
    {
        if (m_cacheFolder.isEmpty())
            return;
        if (!m_formerFolder.isEmpty() && !QFileInfo::exists(m_cacheFolder) &&
            QFileInfo(m_formerFolder).isDir()) {
            QDir().mkpath(QFileInfo(m_cacheFolder).path());
            if (QDir().rename(m_formerFolder, m_cacheFolder))
                QDir().rmdir(QFileInfo(m_formerFolder).path()); // the doubled folder, if now empty
        }
        auto* cache = new QNetworkDiskCache(m_network);
        cache->setCacheDirectory(m_cacheFolder);
        cache->setMaximumCacheSize(64LL * 1024 * 1024);
        m_network->setCache(cache);
    }

    void fetch(const QUrl& url)
    {
        // The TLS library and the extra trust load with the first fetch, on this thread: the window's
        // first frame never waits for them, nor competes with them.
        applyExtraTrust();
        QNetworkRequest request(url);
        // The disk cache answers for as long as the service's caching headers allow.
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                             QNetworkRequest::SameOriginRedirectPolicy);
        request.setTransferTimeout(60000);
        QNetworkReply* reply = m_network->get(request);
        connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received, qint64 total) {
            if (received > IconLoader::maxBytes || total > IconLoader::maxBytes)
                reply->abort();
        });
        connect(reply, &QNetworkReply::finished, this, [this, reply, url] {
            reply->deleteLater();
            const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
            const bool ok =
                reply->error() == QNetworkReply::NoError && (!status.isValid() || status.toInt() < 400);
            Q_EMIT fetched(url, ok ? decodeIcon(reply->readAll()) : QImage());
        });
    }

Q_SIGNALS:
    void fetched(const QUrl& url, const QImage& image);

private:
    QNetworkAccessManager* m_network;
    QString m_cacheFolder;
    QString m_formerFolder;
};

} // namespace

IconLoader::IconLoader(const QString& cacheFolder, QObject* parent)
    : QObject(parent), m_thread(new QThread(this)),
      m_fetcher(
          new Fetcher(cacheFolder, cacheFolder == defaultCacheFolder() ? formerCacheFolder() : QString()))
{
    // The memory cache counts kilobytes: 64 MB of decoded icons.
    m_images.setMaxCost(64 * 1024);
    m_thread->setObjectName(QStringLiteral("Icon loader"));
    m_fetcher->moveToThread(m_thread);
    // The fetcher ends on its own thread, with the replies in flight, as the thread finishes.
    connect(m_thread, &QThread::finished, m_fetcher, &QObject::deleteLater);
    connect(static_cast<Fetcher*>(m_fetcher), &Fetcher::fetched, this, &IconLoader::fetched);
    m_thread->start();
    QMetaObject::invokeMethod(static_cast<Fetcher*>(m_fetcher), &Fetcher::openCache, Qt::QueuedConnection);
}

IconLoader::~IconLoader()
{
    m_thread->quit();
    m_thread->wait();
}

QString IconLoader::defaultCacheFolder()
{
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    return base.isEmpty() ? QString() : base + QStringLiteral("/Brightloom/icons");
}

QString IconLoader::formerCacheFolder()
{
    // The application's cache location names the organisation and the application, both Brightloom.
    const QString base = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    return base.isEmpty() ? QString() : base + QStringLiteral("/icons");
}

IconLoader::State IconLoader::state(const QUrl& url) const
{
    if (m_images.contains(url))
        return State::ready;
    if (m_loading.contains(url))
        return State::loading;
    if (m_failed.contains(url))
        return State::failed;
    return State::unknown;
}

QImage IconLoader::image(const QUrl& url) const
{
    const QImage* image = m_images.object(url);
    return image ? *image : QImage();
}

void IconLoader::load(const QUrl& url)
{
    if (state(url) != State::unknown)
        return;
    if (!url.isValid() || (url.scheme() != QLatin1String("https") && url.scheme() != QLatin1String("http"))) {
        m_failed.insert(url);
        Q_EMIT finished(url);
        return;
    }
    m_loading.insert(url);
    ++m_loadsStarted;
    auto* fetcher = static_cast<Fetcher*>(m_fetcher);
    QMetaObject::invokeMethod(fetcher, [fetcher, url] { fetcher->fetch(url); });
}

void IconLoader::fetched(const QUrl& url, const QImage& image)
{
    m_loading.remove(url);
    if (image.isNull()) {
        m_failed.insert(url);
    } else {
        const int cost = std::max<int>(1, int(image.sizeInBytes() / 1024));
        m_images.insert(url, new QImage(image), cost);
    }
    Q_EMIT finished(url);
}

} // namespace brightloom

#include "icon_loader.moc"
