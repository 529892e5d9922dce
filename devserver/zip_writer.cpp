#include "zip_writer.h"

#include <QDateTime>
#include <QFile>
#include <archive.h>
#include <archive_entry.h>
#include <memory>
#include <string>
#include <sys/stat.h>

namespace brightloom::devserver {

namespace {

struct EntryDeleter
{
    void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};

std::unique_ptr<archive_entry, EntryDeleter> newEntry(const QString& name, mode_t type, int mode)
{
    std::unique_ptr<archive_entry, EntryDeleter> entry(archive_entry_new());
    archive_entry_set_pathname_utf8(entry.get(), name.toUtf8().constData());
    archive_entry_set_filetype(entry.get(), type);
    archive_entry_set_perm(entry.get(), mode_t(mode));
    archive_entry_set_mtime(entry.get(), QDateTime::currentSecsSinceEpoch(), 0);
    return entry;
}

} // namespace

ZipWriter::ZipWriter(const QString& path) : m_path(path), m_partPath(path + QStringLiteral(".part"))
{
    m_archive = archive_write_new();
    if (!m_archive)
        throw ZipError("cannot make a zip writer");
    check(archive_write_set_format_zip(m_archive), "choose the zip format");
    check(archive_write_open_filename(m_archive, QFile::encodeName(m_partPath).constData()), "open");
}

ZipWriter::~ZipWriter()
{
    if (m_archive) {
        archive_write_free(m_archive);
        QFile::remove(m_partPath);
    }
}

void ZipWriter::check(int status, const char* what)
{
    if (status >= ARCHIVE_WARN)
        return;
    const char* reason = archive_error_string(m_archive);
    throw ZipError(std::string("cannot ") + what + " " + m_partPath.toStdString() + ": " +
                   (reason ? reason : "unknown error"));
}

void ZipWriter::addDirectory(const QString& name)
{
    auto entry = newEntry(name.endsWith(QLatin1Char('/')) ? name : name + QLatin1Char('/'), AE_IFDIR, 0755);
    check(archive_write_header(m_archive, entry.get()), "add a folder to");
}

void ZipWriter::addFile(const QString& name, const QByteArray& data, int mode)
{
    auto entry = newEntry(name, AE_IFREG, mode);
    archive_entry_set_size(entry.get(), data.size());
    check(archive_write_header(m_archive, entry.get()), "add a file to");
    if (!data.isEmpty() && archive_write_data(m_archive, data.constData(), size_t(data.size())) < 0)
        check(ARCHIVE_FATAL, "write a file into");
}

void ZipWriter::addSymlink(const QString& name, const QString& target)
{
    auto entry = newEntry(name, AE_IFLNK, 0755);
    archive_entry_set_symlink_utf8(entry.get(), target.toUtf8().constData());
    check(archive_write_header(m_archive, entry.get()), "add a link to");
}

void ZipWriter::commit()
{
    check(archive_write_close(m_archive), "finish");
    archive_write_free(m_archive);
    m_archive = nullptr;
    QFile::remove(m_path);
    if (!QFile::rename(m_partPath, m_path))
        throw ZipError("cannot move the archive to " + m_path.toStdString());
}

} // namespace brightloom::devserver
