#include "icon_loader.h"

#include "service/extra_trust.h"

#include <QBuffer>
#include <QImageReader>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QNetworkReply>
#include <QPointer>
#include <QStandardPaths>
#include <QtConcurrent/QtConcurrentRun>
#include <memory>
#include <qcoro/qcorofuture.h>
#include <qcoro/qcoronetworkreply.h>

namespace brightloom {
namespace {

struct DeleteLater
{
    void operator()(QObject* object) const { object->deleteLater(); }
};

// Reads an icon away from the main thread, refusing absurd dimensions before any pixel is
// allocated, and scales it down to what a tile can show.
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

QFuture<QImage> startDecoding(QByteArray bytes)
{
    return QtConcurrent::run([bytes = std::move(bytes)] { return decodeIcon(bytes); });
}

} // namespace

IconLoader::IconLoader(const QString& cacheFolder, QObject* parent)
    : QObject(parent), m_network(new QNetworkAccessManager(this))
{
    applyExtraTrust();
    // The memory cache counts kilobytes: 64 MB of decoded icons.
    m_images.setMaxCost(64 * 1024);
    if (!cacheFolder.isEmpty()) {
        auto* cache = new QNetworkDiskCache(m_network);
        cache->setCacheDirectory(cacheFolder);
        cache->setMaximumCacheSize(64LL * 1024 * 1024);
        m_network->setCache(cache);
    }
}

IconLoader::~IconLoader() = default;

QString IconLoader::defaultCacheFolder()
{
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
    fetch(url); // ends on its own; it catches every failure
}

QCoro::Task<> IconLoader::fetch(QUrl url)
{
    QPointer<IconLoader> self(this);
    QNetworkRequest request(url);
    // The disk cache answers for as long as the service's caching headers allow.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::SameOriginRedirectPolicy);
    request.setTransferTimeout(60000);
    std::unique_ptr<QNetworkReply, DeleteLater> reply(m_network->get(request));
    QNetworkReply* raw = reply.get();
    connect(raw, &QNetworkReply::downloadProgress, raw, [raw](qint64 received, qint64 total) {
        if (received > maxBytes || total > maxBytes)
            raw->abort();
    });
    co_await raw;

    QImage image;
    const QVariant status = raw->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const bool ok = raw->error() == QNetworkReply::NoError && (!status.isValid() || status.toInt() < 400);
    if (ok) {
        QByteArray bytes = raw->readAll();
        reply.reset();
        try {
            image = co_await startDecoding(std::move(bytes));
        } catch (...) {
            image = QImage(); // an icon that cannot be read counts as failed
        }
    }
    if (!self)
        co_return;
    m_loading.remove(url);
    if (image.isNull()) {
        m_failed.insert(url);
    } else {
        const int cost = std::max<int>(1, int(image.sizeInBytes() / 1024));
        m_images.insert(url, new QImage(std::move(image)), cost);
    }
    Q_EMIT finished(url);
}

} // namespace brightloom
