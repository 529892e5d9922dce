#pragma once

// Writes a zip archive with libarchive: files with their permission bits, folders, and (for the
// hostile archives tests ask for) symbolic links and names that climb out of the folder. The
// archive is written beside its final path and moved there when complete, so a reader never sees
// half an archive.

#include <QByteArray>
#include <QString>
#include <stdexcept>

struct archive;

namespace brightloom::devserver {

class ZipError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class ZipWriter
{
public:
    explicit ZipWriter(const QString& path); // throws ZipError
    ~ZipWriter();
    ZipWriter(const ZipWriter&) = delete;
    ZipWriter& operator=(const ZipWriter&) = delete;

    void addDirectory(const QString& name);
    void addFile(const QString& name, const QByteArray& data, int mode = 0644);
    void addSymlink(const QString& name, const QString& target);
    // Finishes the archive and moves it into place.
    void commit();

private:
    void check(int status, const char* what);

    QString m_path;
    QString m_partPath;
    archive* m_archive = nullptr;
};

} // namespace brightloom::devserver
