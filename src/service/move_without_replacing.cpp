#include "move_without_replacing.h"

#include <QFile>
#include <cerrno>
#include <unistd.h>

namespace brightloom {
namespace {

MoveOutcome copyThenRemove(const QString& from, const QString& to)
{
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return MoveOutcome::failed;
    QFile target(to);
    // NewOnly creates the file or fails: whatever stands at `to` stays as it is.
    if (!target.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return QFile::exists(to) || QFile::symLinkTarget(to).size() > 0 ? MoveOutcome::taken
                                                                        : MoveOutcome::failed;
    constexpr qint64 chunk = qint64(1) << 20;
    while (!source.atEnd()) {
        const QByteArray bytes = source.read(chunk);
        if (bytes.isEmpty() || target.write(bytes) != bytes.size()) {
            target.remove();
            return MoveOutcome::failed;
        }
    }
    if (!target.flush()) {
        target.remove();
        return MoveOutcome::failed;
    }
    target.close();
    source.close();
    QFile::remove(from);
    return MoveOutcome::moved;
}

} // namespace

MoveOutcome moveWithoutReplacing(const QString& from, const QString& to)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    // A hard link is made only where nothing stands yet, in one step.
    if (::link(source.constData(), target.constData()) == 0) {
        ::unlink(source.constData());
        return MoveOutcome::moved;
    }
    if (errno == EEXIST)
        return MoveOutcome::taken;
    // Another file system, or one without hard links.
    return copyThenRemove(from, to);
}

} // namespace brightloom
