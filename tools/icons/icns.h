#pragma once

#include <QByteArray>
#include <QList>

namespace brightloom::icons {

// One picture of a Mac icon file: its four-letter type, which names its size, and its PNG data.
struct IcnsEntry
{
    QByteArray type;
    QByteArray png;
};

// The pictures a Mac asks of an app icon: 16 to 512 points, each at one and two pixels a point.
struct IcnsSize
{
    const char* type;
    int pixels;
};
inline constexpr IcnsSize icnsSizes[] = {
    {"icp4", 16},  {"ic11", 32},  {"icp5", 32},  {"ic12", 64},  {"ic07", 128},
    {"ic13", 256}, {"ic08", 256}, {"ic14", 512}, {"ic09", 512}, {"ic10", 1024},
};

// An .icns file: "icns" and the file's length, then each entry as its type, its length with this
// eight-byte head, and its data; lengths big-endian.
QByteArray icnsFile(const QList<IcnsEntry>& entries);

} // namespace brightloom::icons
