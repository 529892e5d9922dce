#include "icns.h"

#include <QtEndian>

namespace brightloom::icons {

namespace {

void appendLength(QByteArray& out, qsizetype length)
{
    char bytes[4];
    qToBigEndian(quint32(length), bytes);
    out.append(bytes, 4);
}

} // namespace

QByteArray icnsFile(const QList<IcnsEntry>& entries)
{
    QByteArray body;
    for (const IcnsEntry& entry : entries) {
        body.append(entry.type.left(4));
        appendLength(body, entry.png.size() + 8);
        body.append(entry.png);
    }
    QByteArray file("icns");
    appendLength(file, body.size() + 8);
    return file + body;
}

} // namespace brightloom::icons
