#pragma once

// Writes zip files byte by byte, for archives no zip tool would make: sizes in the headers that
// understate the data, several directory entries that share one entry's data, names holding NUL.

#include <QByteArray>
#include <QList>
#include <optional>

namespace brightloom::test {

class RawZip
{
public:
    // A deflated entry; `declaredSize` replaces the true unpacked size in both headers.
    RawZip& deflated(const QByteArray& name, const QByteArray& content,
                     std::optional<quint32> declaredSize = {});
    RawZip& stored(const QByteArray& name, const QByteArray& content);
    // A directory entry for every one of `names`, all pointing at the data of entry `index`.
    RawZip& sharing(int index, const QList<QByteArray>& names);
    // Sets the Unix mode (type and permission bits) of the last entry.
    RawZip& mode(quint32 unixMode);

    QByteArray bytes() const;

    // Deflate without zlib's wrapper, as zip holds it.
    static QByteArray rawDeflate(const QByteArray& content);

private:
    struct Entry
    {
        QByteArray name;
        QByteArray data; // as stored
        quint16 method = 0;
        quint32 crc = 0;
        quint32 size = 0;
        int sharedWith = -1; // -1: has its own data
        quint32 mode = 0100644;
    };
    QList<Entry> m_entries;
};

} // namespace brightloom::test
