#pragma once

// A look at a zip file's central directory before anything is unpacked, for what the unpacker
// cannot see through libarchive: the true entry count, names cut short by a NUL, entries whose data
// overlap (the way small archives are made to unpack to terabytes) and the sizes the entries claim.

#include <QString>
#include <cstdint>

namespace brightloom::zip {

struct DirectoryCheck
{
    QString refusal;                // why the archive must not be unpacked; empty when nothing was found
    std::int64_t entries = -1;      // as the directory says; -1 when it could not be read
    std::int64_t declaredBytes = 0; // the unpacked sizes the entries claim, all together
};

// Reads the directory of the zip file at `path`. An archive whose directory cannot be read at all is
// not refused here: the unpacker then reports what it finds.
DirectoryCheck checkDirectory(const QString& path, std::int64_t maxEntries);

} // namespace brightloom::zip
