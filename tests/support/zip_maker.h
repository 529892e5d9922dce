#pragma once

// Builds archives for tests with libarchive's writer, including ones no honest tool would write:
// names that climb out, absolute names, links, devices, set-user-id files, duplicates.

#include <QByteArray>
#include <QList>
#include <QString>

namespace brightloom::test {

class ZipMaker
{
public:
    ZipMaker& file(const QString& name, const QByteArray& content, int mode = 0644);
    ZipMaker& directory(const QString& name, int mode = 0755);
    ZipMaker& symlink(const QString& name, const QString& target);
    ZipMaker& hardlink(const QString& name, const QString& target);
    ZipMaker& fifo(const QString& name);
    // Names are taken byte for byte, so they may be invalid UTF-8.
    ZipMaker& rawFile(const QByteArray& name, const QByteArray& content);

    QByteArray zip() const;                                    // deflated zip
    QByteArray encryptedZip(const QByteArray& password) const; // traditional zip encryption
    QByteArray tar() const;
    QByteArray sevenZip() const;
    bool writeZip(const QString& path) const;

private:
    struct Entry
    {
        enum Kind { File, Directory, Symlink, Hardlink, Fifo } kind;
        QByteArray name;
        QByteArray content; // file data, or link target
        int mode = 0644;
    };
    QByteArray write(const char* format, const QByteArray& password = {}) const;
    QList<Entry> m_entries;
};

} // namespace brightloom::test
