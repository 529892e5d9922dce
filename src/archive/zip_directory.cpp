#include "zip_directory.h"

#include "text/characters.h"

#include <QFile>
#include <algorithm>
#include <cstdint>
#include <vector>

namespace brightloom::zip {
namespace {

constexpr quint32 endSignature = 0x06054b50;
constexpr quint32 end64Signature = 0x06064b50;
constexpr quint32 locator64Signature = 0x07064b50;
constexpr quint32 entrySignature = 0x02014b50;
constexpr qsizetype endSize = 22;
constexpr qsizetype entryHeaderSize = 46;
constexpr qsizetype localHeaderSize = 30;

quint16 u16(const uchar* p)
{
    return quint16(p[0] | (p[1] << 8));
}
quint32 u32(const uchar* p)
{
    return quint32(p[0]) | (quint32(p[1]) << 8) | (quint32(p[2]) << 16) | (quint32(p[3]) << 24);
}
quint64 u64(const uchar* p)
{
    return quint64(u32(p)) | (quint64(u32(p + 4)) << 32);
}

struct Span
{
    quint64 start; // the local header
    quint64 end;   // at least this far: header, name and compressed data
};

// The directory's place and size, from the end record (and its 64-bit form when the plain one
// overflows); false when there is no end record.
bool findDirectory(QFile& file, quint64& offset, quint64& size, quint64& count)
{
    const qint64 length = file.size();
    const qint64 tail = std::min<qint64>(length, endSize + 0xFFFF);
    if (tail < endSize || !file.seek(length - tail))
        return false;
    const QByteArray end = file.read(tail);
    const auto* data = reinterpret_cast<const uchar*>(end.constData());
    qsizetype at = end.size() - endSize;
    while (at >= 0 && u32(data + at) != endSignature)
        --at;
    if (at < 0)
        return false;
    count = u16(data + at + 10);
    size = u32(data + at + 12);
    offset = u32(data + at + 16);
    if (count != 0xFFFF && size != 0xFFFFFFFF && offset != 0xFFFFFFFF)
        return true;
    // The 64-bit end record, found through the locator just before the plain one.
    const qint64 locatorAt = length - tail + at - 20;
    if (locatorAt < 0 || !file.seek(locatorAt))
        return false;
    const QByteArray locator = file.read(20);
    if (locator.size() != 20 ||
        u32(reinterpret_cast<const uchar*>(locator.constData())) != locator64Signature)
        return false;
    const quint64 end64At = u64(reinterpret_cast<const uchar*>(locator.constData()) + 8);
    if (end64At > quint64(length) || !file.seek(qint64(end64At)))
        return false;
    const QByteArray end64 = file.read(56);
    const auto* e = reinterpret_cast<const uchar*>(end64.constData());
    if (end64.size() != 56 || u32(e) != end64Signature)
        return false;
    count = u64(e + 32);
    size = u64(e + 40);
    offset = u64(e + 48);
    return true;
}

} // namespace

DirectoryCheck checkDirectory(const QString& path, std::int64_t maxEntries)
{
    DirectoryCheck check;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return check;
    quint64 offset = 0;
    quint64 size = 0;
    quint64 count = 0;
    if (!findDirectory(file, offset, size, count))
        return check;
    if (count > quint64(maxEntries)) {
        check.refusal = QStringLiteral("the archive holds more than %1 entries").arg(maxEntries);
        return check;
    }
    if (offset + size > quint64(file.size()) || !file.seek(qint64(offset)))
        return check;
    const QByteArray directory = file.read(qint64(size));
    if (directory.size() != qsizetype(size))
        return check;

    const auto* data = reinterpret_cast<const uchar*>(directory.constData());
    std::vector<Span> spans;
    spans.reserve(std::size_t(count));
    qsizetype at = 0;
    while (at + entryHeaderSize <= directory.size() && u32(data + at) == entrySignature) {
        const uchar* entry = data + at;
        quint64 compressed = u32(entry + 20);
        quint64 uncompressed = u32(entry + 24);
        const qsizetype nameLength = u16(entry + 28);
        const qsizetype extraLength = u16(entry + 30);
        const qsizetype commentLength = u16(entry + 32);
        quint64 local = u32(entry + 42);
        if (at + entryHeaderSize + nameLength + extraLength + commentLength > directory.size())
            break;
        const QByteArrayView name(entry + entryHeaderSize, nameLength);
        if (name.contains('\0')) {
            check.refusal = QStringLiteral("an entry's name holds a NUL character");
            return check;
        }
        // The Unix mode, when the maker was a Unix system: only files, folders and links may come out.
        const int maker = u16(entry + 4) >> 8;
        const quint32 type = (u32(entry + 38) >> 16) & 0170000;
        if ((maker == 3 || maker == 19) && type != 0 && type != 0100000 && type != 0040000 &&
            type != 0120000) {
            check.refusal = QStringLiteral("the entry \"") +
                            text::firstCharacters(QString::fromUtf8(name), 120) +
                            QStringLiteral("\" is neither a file, a folder nor a link");
            return check;
        }
        // Sizes and offsets too large for their fields stand in the 64-bit extra field, in order.
        const uchar* extra = entry + entryHeaderSize + nameLength;
        for (qsizetype e = 0; e + 4 <= extraLength;) {
            const quint16 id = u16(extra + e);
            const qsizetype length = u16(extra + e + 2);
            if (e + 4 + length > extraLength)
                break;
            if (id == 0x0001) {
                const uchar* field = extra + e + 4;
                qsizetype used = 0;
                if (uncompressed == 0xFFFFFFFF && used + 8 <= length) {
                    uncompressed = u64(field + used);
                    used += 8;
                }
                if (compressed == 0xFFFFFFFF && used + 8 <= length) {
                    compressed = u64(field + used);
                    used += 8;
                }
                if (local == 0xFFFFFFFF && used + 8 <= length)
                    local = u64(field + used);
            }
            e += 4 + length;
        }
        // Saturating, so that claims near the 64-bit limit cannot wrap around to a small total.
        const quint64 total = quint64(check.declaredBytes) + uncompressed;
        check.declaredBytes = total < quint64(check.declaredBytes) || total > quint64(INT64_MAX)
                                  ? INT64_MAX
                                  : std::int64_t(total);
        spans.push_back(Span{local, local + localHeaderSize + quint64(nameLength) + compressed});
        at += entryHeaderSize + nameLength + extraLength + commentLength;
    }
    check.entries = std::int64_t(spans.size());
    if (spans.size() > std::size_t(maxEntries)) {
        check.refusal = QStringLiteral("the archive holds more than %1 entries").arg(maxEntries);
        return check;
    }
    // Each entry's data must end before the next entry starts, and before the directory.
    std::sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) { return a.start < b.start; });
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const quint64 limit = i + 1 < spans.size() ? spans[i + 1].start : offset;
        if (spans[i].end > limit) {
            check.refusal = QStringLiteral("the archive's entries overlap");
            return check;
        }
    }
    return check;
}

} // namespace brightloom::zip
