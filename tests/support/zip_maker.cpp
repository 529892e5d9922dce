#include "zip_maker.h"

#include <QFile>
#include <archive.h>
#include <archive_entry.h>
#include <stdexcept>
#include <sys/stat.h>

namespace brightloom::test {

ZipMaker& ZipMaker::file(const QString& name, const QByteArray& content, int mode)
{
    m_entries.append({Entry::File, name.toUtf8(), content, mode});
    return *this;
}

ZipMaker& ZipMaker::rawFile(const QByteArray& name, const QByteArray& content)
{
    m_entries.append({Entry::File, name, content, 0644});
    return *this;
}

ZipMaker& ZipMaker::directory(const QString& name, int mode)
{
    m_entries.append({Entry::Directory, name.toUtf8(), {}, mode});
    return *this;
}

ZipMaker& ZipMaker::symlink(const QString& name, const QString& target)
{
    m_entries.append({Entry::Symlink, name.toUtf8(), target.toUtf8(), 0777});
    return *this;
}

ZipMaker& ZipMaker::hardlink(const QString& name, const QString& target)
{
    m_entries.append({Entry::Hardlink, name.toUtf8(), target.toUtf8(), 0644});
    return *this;
}

ZipMaker& ZipMaker::fifo(const QString& name)
{
    m_entries.append({Entry::Fifo, name.toUtf8(), {}, 0644});
    return *this;
}

QByteArray ZipMaker::zip() const
{
    return write("zip");
}

QByteArray ZipMaker::encryptedZip(const QByteArray& password) const
{
    return write("zip", password);
}

QByteArray ZipMaker::tar() const
{
    return write("pax");
}

QByteArray ZipMaker::sevenZip() const
{
    return write("7zip");
}

bool ZipMaker::writeZip(const QString& path) const
{
    QFile out(path);
    return out.open(QIODevice::WriteOnly) && out.write(zip()) >= 0;
}

QByteArray ZipMaker::write(const char* format, const QByteArray& password) const
{
    archive* a = archive_write_new();
    archive_write_set_format_by_name(a, format);
    if (!password.isEmpty()) {
        archive_write_set_options(a, "zip:encryption=zipcrypt");
        archive_write_set_passphrase(a, password.constData());
    }
    // Room for the contents stored as they are plus every header; libarchive writes into it and
    // reports the size used.
    qsizetype room = 64 << 20;
    for (const Entry& e : m_entries)
        room += e.content.size() + e.content.size() / 16 + 2 * e.name.size() + 1024;
    QByteArray buffer(room, Qt::Uninitialized);
    size_t used = 0;
    if (archive_write_open_memory(a, buffer.data(), size_t(buffer.size()), &used) != ARCHIVE_OK)
        throw std::runtime_error(archive_error_string(a));
    for (const Entry& e : m_entries) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, e.name.constData());
        archive_entry_set_mtime(entry, 1700000000, 0);
        switch (e.kind) {
        case Entry::File:
            archive_entry_set_filetype(entry, AE_IFREG);
            archive_entry_set_size(entry, e.content.size());
            break;
        case Entry::Directory:
            archive_entry_set_filetype(entry, AE_IFDIR);
            break;
        case Entry::Symlink:
            archive_entry_set_filetype(entry, AE_IFLNK);
            archive_entry_set_symlink(entry, e.content.constData());
            break;
        case Entry::Hardlink:
            archive_entry_set_filetype(entry, AE_IFREG);
            archive_entry_set_hardlink(entry, e.content.constData());
            archive_entry_set_size(entry, 0);
            break;
        case Entry::Fifo:
            archive_entry_set_filetype(entry, AE_IFIFO);
            break;
        }
        archive_entry_set_perm(entry, mode_t(e.mode));
        if (archive_write_header(a, entry) < ARCHIVE_WARN)
            throw std::runtime_error(archive_error_string(a));
        if (e.kind == Entry::File && !e.content.isEmpty())
            archive_write_data(a, e.content.constData(), size_t(e.content.size()));
        archive_entry_free(entry);
    }
    archive_write_close(a);
    archive_write_free(a);
    buffer.truncate(qsizetype(used));
    return buffer;
}

} // namespace brightloom::test
