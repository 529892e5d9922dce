#pragma once

// Copying folders of the build (frameworks, assets, the finished bundle) the way the platform's copy
// tool does: inner symbolic links stay links, permissions are kept, and a copy into an existing
// folder merges with it, replacing files of the same name.

#include <QFuture>
#include <QString>
#include <qcoro/qcorotask.h>

namespace brightloom::LocalBuild {

// Copies the folder (or file) `from` to the path `to`. Blocks on the file system. Answers the first
// failure as a sentence, or an empty text when everything was copied.
QString copyTree(const QString& from, const QString& to);

// copyTree() on the thread pool.
QFuture<QString> startCopyingTree(const QString& from, const QString& to);

// copyTree() on the thread pool, resuming on the calling thread.
QCoro::Task<QString> copyTreeInBackground(QString from, QString to);

// Removes `path` (a folder and everything in it, a file or a link) on the thread pool, resuming on the
// calling thread; a failure is ignored.
QCoro::Task<> removeInBackground(QString path);

} // namespace brightloom::LocalBuild
