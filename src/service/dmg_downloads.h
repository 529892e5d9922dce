#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <qcoro/qcorotask.h>

namespace brightloom {

class API;
class Desktop;

// The disk-image downloads of one screen: which keys are running, where each finished one was
// saved, and the last failure. Each saved image is opened on the desktop.
class DmgDownloads final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DmgDownloads)
    Q_PROPERTY(QSet<QString> busy READ busy NOTIFY busyChanged)
    Q_PROPERTY(QHash<QString, QString> saved READ saved NOTIFY savedChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)

public:
    explicit DmgDownloads(Desktop* desktop, QObject* parent = nullptr);

    const QSet<QString>& busy() const { return m_busy; }
    const QHash<QString, QString>& saved() const { return m_saved; } // key → saved file path
    const QString& error() const { return m_error; }                 // empty when none

    // Starts downloading `url` as `name` under `key` and returns at once; a key already running is
    // left alone. The file is saved with `extension`: a disk image's, unless an app archive comes
    // in its place.
    void get(const QString& key, const QString& url, const QString& name, API& api,
             const QString& extension = QStringLiteral("dmg"));

Q_SIGNALS:
    void busyChanged();
    void savedChanged();
    void errorChanged();
    // A download under `key` ended, saved or failed.
    void finished(const QString& key);

private:
    QCoro::Task<> download(QString key, QString url, QString name, QString extension, QPointer<API> api);
    void setError(const QString& error);

    Desktop* m_desktop;
    QSet<QString> m_busy;
    QHash<QString, QString> m_saved;
    QString m_error;
};

} // namespace brightloom
