#include "raw_zip.h"

namespace brightloom::test {
namespace {

void put16(QByteArray& out, quint16 v)
{
    out.append(char(v & 0xff)).append(char(v >> 8));
}
void put32(QByteArray& out, quint32 v)
{
    put16(out, quint16(v & 0xffff));
    put16(out, quint16(v >> 16));
}

quint32 crcOf(const QByteArray& data)
{
    quint32 crc = 0xFFFFFFFFu;
    for (const char c : data) {
        crc ^= quint8(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

} // namespace

QByteArray RawZip::rawDeflate(const QByteArray& content)
{
    // qCompress gives a 4-byte length, a 2-byte zlib header, the deflate stream and a 4-byte checksum.
    const QByteArray wrapped = qCompress(content, 9);
    return wrapped.mid(6, wrapped.size() - 10);
}

RawZip& RawZip::deflated(const QByteArray& name, const QByteArray& content,
                         std::optional<quint32> declaredSize)
{
    m_entries.append(Entry{name, rawDeflate(content), 8, crcOf(content),
                           declaredSize.value_or(quint32(content.size())), -1});
    return *this;
}

RawZip& RawZip::stored(const QByteArray& name, const QByteArray& content)
{
    m_entries.append(Entry{name, content, 0, crcOf(content), quint32(content.size()), -1});
    return *this;
}

RawZip& RawZip::sharing(int index, const QList<QByteArray>& names)
{
    for (const QByteArray& name : names) {
        Entry e = m_entries.at(index);
        e.name = name;
        e.sharedWith = index;
        m_entries.append(e);
    }
    return *this;
}

RawZip& RawZip::mode(quint32 unixMode)
{
    m_entries.last().mode = unixMode;
    return *this;
}

QByteArray RawZip::bytes() const
{
    QByteArray out;
    // The fields a local header and its central directory record share, in the same order: the
    // version needed, flags, method, time and date, checksum, both sizes, the name's length and an
    // empty extra field.
    const auto putSharedFields = [&out](const Entry& e) {
        put16(out, 20);
        put16(out, 0);
        put16(out, e.method);
        put16(out, 0);
        put16(out, 0x21);
        put32(out, e.crc);
        put32(out, quint32(e.data.size()));
        put32(out, e.size);
        put16(out, quint16(e.name.size()));
        put16(out, 0);
    };
    QList<quint32> offsets;
    for (const Entry& e : m_entries) {
        if (e.sharedWith >= 0) {
            offsets.append(offsets.at(e.sharedWith));
            continue;
        }
        offsets.append(quint32(out.size()));
        put32(out, 0x04034b50);
        putSharedFields(e);
        out.append(e.name);
        out.append(e.data);
    }
    const quint32 directoryAt = quint32(out.size());
    for (qsizetype i = 0; i < m_entries.size(); ++i) {
        const Entry& e = m_entries.at(i);
        put32(out, 0x02014b50);
        put16(out, 0x031e); // made on Unix
        putSharedFields(e);
        put16(out, 0);
        put16(out, 0);
        put16(out, 0);
        put32(out, e.mode << 16);
        put32(out, offsets.at(i));
        out.append(e.name);
    }
    const quint32 directorySize = quint32(out.size()) - directoryAt;
    const bool many = m_entries.size() > 0xFFFE;
    if (many) {
        // More entries than the plain end record can count: the 64-bit record and its locator.
        const quint32 end64At = quint32(out.size());
        put32(out, 0x06064b50);
        put32(out, 44);
        put32(out, 0);
        put16(out, 0x031e);
        put16(out, 45);
        put32(out, 0);
        put32(out, 0);
        for (int twice = 0; twice < 2; ++twice) {
            put32(out, quint32(m_entries.size()));
            put32(out, 0);
        }
        put32(out, directorySize);
        put32(out, 0);
        put32(out, directoryAt);
        put32(out, 0);
        put32(out, 0x07064b50);
        put32(out, 0);
        put32(out, end64At);
        put32(out, 0);
        put32(out, 1);
    }
    const quint16 counted = many ? quint16(0xFFFF) : quint16(m_entries.size());
    put32(out, 0x06054b50);
    put16(out, 0);
    put16(out, 0);
    put16(out, counted);
    put16(out, counted);
    put32(out, directorySize);
    put32(out, directoryAt);
    put16(out, 0);
    return out;
}

} // namespace brightloom::test
