#include "zip_unpacking.h"

#include "text/characters.h"
#include "zip_directory.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <archive.h>
#include <archive_entry.h>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace brightloom::zip {
namespace {

constexpr std::size_t maxNameBytes = 1024;
constexpr std::size_t maxComponentBytes = 255;

struct ReadCloser
{
    void operator()(archive* a) const { archive_read_free(a); }
};
struct WriteCloser
{
    void operator()(archive* a) const { archive_write_free(a); }
};

bool validUtf8(std::string_view text)
{
    const QByteArray bytes = QByteArray::fromRawData(text.data(), qsizetype(text.size()));
    return QString::fromUtf8(bytes).toUtf8() == bytes;
}

// A name as messages quote it: its first 120 characters, whole.
QString named(std::string_view name)
{
    const QString whole = QString::fromUtf8(name.data(), qsizetype(name.size()));
    QString shown = text::firstCharacters(whole, 120);
    if (shown.size() < whole.size())
        shown += QChar(0x2026);
    return QLatin1Char('"') + shown + QLatin1Char('"');
}

// Whether valid UTF-8 `name` holds a C0 or C1 control character or DEL.
bool holdsControl(std::string_view name)
{
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto byte = static_cast<unsigned char>(name[i]);
        if (byte < 0x20 || byte == 0x7f)
            return true;
        // C1 is U+0080 to U+009F: 0xC2 followed by 0x80 to 0x9F.
        if (byte == 0xc2 && i + 1 < name.size() && static_cast<unsigned char>(name[i + 1]) <= 0x9f)
            return true;
    }
    return false;
}

// Checks a name as written in the archive and returns it with "." parts and trailing slashes
// removed, or an empty string with `why` set.
std::string cleanName(std::string_view raw, QString& why)
{
    if (raw.empty()) {
        why = QStringLiteral("an entry has no name");
        return {};
    }
    if (raw.size() > maxNameBytes) {
        why = QStringLiteral("an entry's name is too long");
        return {};
    }
    if (!validUtf8(raw)) {
        why = QStringLiteral("an entry's name is not valid UTF-8");
        return {};
    }
    // A line end or an escape in a file name would act wherever the name is shown or written out.
    if (holdsControl(raw)) {
        why = QStringLiteral("an entry's name holds a control character");
        return {};
    }
    if (raw.front() == '/') {
        why = QStringLiteral("the entry ") + named(raw) + QStringLiteral(" has an absolute path");
        return {};
    }
    if (raw.find('\\') != std::string_view::npos) {
        why = QStringLiteral("the entry ") + named(raw) + QStringLiteral(" has a backslash in its name");
        return {};
    }
    std::string clean;
    std::size_t start = 0;
    bool first = true;
    while (start <= raw.size()) {
        const std::size_t slash = std::min(raw.find('/', start), raw.size());
        const std::string_view part = raw.substr(start, slash - start);
        start = slash + 1;
        if (part.empty() || part == ".")
            continue;
        if (part == "..") {
            why = QStringLiteral("the entry ") + named(raw) + QStringLiteral(" leads outside the folder");
            return {};
        }
        if (part.size() > maxComponentBytes) {
            why = QStringLiteral("an entry's name is too long");
            return {};
        }
        // A drive letter is a path outside the folder on other systems; no app needs one.
        if (first && part.size() >= 2 && part[1] == ':' &&
            std::isalpha(static_cast<unsigned char>(part[0]))) {
            why = QStringLiteral("the entry ") + named(raw) + QStringLiteral(" has a drive letter");
            return {};
        }
        first = false;
        if (!clean.empty())
            clean += '/';
        clean += part;
    }
    if (clean.empty())
        why = QStringLiteral("the entry ") + named(raw) + QStringLiteral(" has no name");
    return clean;
}

// What each name written so far is, so later entries cannot reuse a name or pass through a link or
// a file.
class Namespace
{
public:
    enum Kind { File, Directory, Link };

    // The reason `name` may not be written as `kind`, or an empty string.
    QString refuse(const std::string& name, Kind kind) const
    {
        for (std::size_t slash = name.find('/'); slash != std::string::npos;
             slash = name.find('/', slash + 1)) {
            const auto parent = m_kinds.find(name.substr(0, slash));
            if (parent == m_kinds.end() || parent->second == Directory)
                continue;
            return parent->second == Link ? QStringLiteral("the entry ") + named(name) +
                                                QStringLiteral(" would be written through a symbolic link")
                                          : QStringLiteral("the entry ") + named(name) +
                                                QStringLiteral(" would be written inside a file");
        }
        const auto existing = m_kinds.find(name);
        if (existing != m_kinds.end() &&
            !(existing->second == Directory && kind == Directory && !m_explicit.contains(name)))
            return QStringLiteral("the archive holds ") + named(name) + QStringLiteral(" twice");
        return {};
    }

    void add(const std::string& name, Kind kind)
    {
        for (std::size_t slash = name.find('/'); slash != std::string::npos;
             slash = name.find('/', slash + 1))
            m_kinds.emplace(name.substr(0, slash), Directory);
        m_kinds[name] = kind;
        m_explicit.insert(name);
    }

    bool isFile(const std::string& name) const
    {
        const auto it = m_kinds.find(name);
        return it != m_kinds.end() && it->second == File;
    }

private:
    std::unordered_map<std::string, Kind> m_kinds;
    std::unordered_set<std::string> m_explicit; // named by an entry, not only implied by one
};

QString libarchiveError(archive* a, const char* fallback)
{
    const char* text = archive_error_string(a);
    return QString::fromUtf8(text ? text : fallback);
}

// Whether the reader's error is its own finding that an entry's data has another size than its
// header says ("ZIP uncompressed data is wrong size", from libarchive 3.7 on).
bool sizeMismatch(archive* a)
{
    const char* text = archive_error_string(a);
    return text && std::strstr(text, "wrong size") != nullptr;
}

QString tooLarge(std::int64_t maxBytes)
{
    return QStringLiteral("the archive unpacks to more than %1 MB").arg(maxBytes / 1'000'000);
}

// The size a file has on disk as a reader sees it, holes included; 0 when it cannot be asked.
std::int64_t apparentSize(const std::string& path)
{
    struct stat info;
    if (::lstat(path.c_str(), &info) != 0)
        return 0;
    return std::int64_t(info.st_size);
}

// The names this unpacking made at the top of the target folder, so that a refusal for size or time
// can take away what it wrote: such an archive may already have filled the disk with gigabytes.
class Made
{
public:
    explicit Made(std::string root) : m_root(std::move(root)) {}

    // Notes the top of `name` before anything is written there; what was there before is not ours.
    void note(const std::string& name)
    {
        const std::string top = name.substr(0, name.find('/'));
        if (!m_seen.insert(top).second)
            return;
        struct stat info;
        if (::lstat((m_root + top).c_str(), &info) != 0)
            m_made.push_back(top);
    }

    void removeAll() const
    {
        for (const std::string& top : m_made) {
            std::error_code ignored;
            std::filesystem::remove_all(m_root + top, ignored); // removes links, never follows them
        }
    }

private:
    std::string m_root;
    std::unordered_set<std::string> m_seen;
    std::vector<std::string> m_made;
};

} // namespace

Result extract(const QString& archivePath, const QString& targetFolder, Limits limits)
{
    Result result;
    // The canonical folder: libarchive refuses to pass through any link on the way, the folder's own
    // parents included.
    const QString canonical = QFileInfo(targetFolder).canonicalFilePath();
    if (canonical.isEmpty() || !QFileInfo(canonical).isDir()) {
        result.error = QStringLiteral("the folder to unpack into does not exist");
        return result;
    }
    const std::string root = QFile::encodeName(canonical).toStdString() + '/';
    const QDeadlineTimer deadline = limits.maxMilliseconds > 0 ? QDeadlineTimer(limits.maxMilliseconds)
                                                               : QDeadlineTimer(QDeadlineTimer::Forever);
    const auto tooLong = [&] {
        return QStringLiteral("unpacking took longer than %1 seconds")
            .arg(double(limits.maxMilliseconds) / 1000);
    };

    // What libarchive's reader cannot tell: names cut at a NUL, shared data, the real entry count. The
    // sizes the entries claim are held to the limit before anything is written.
    const DirectoryCheck directory = checkDirectory(archivePath, limits.maxEntries);
    if (!directory.refusal.isEmpty()) {
        result.error = directory.refusal;
        return result;
    }
    if (directory.declaredBytes > limits.maxBytes) {
        result.error = tooLarge(limits.maxBytes);
        return result;
    }

    std::unique_ptr<archive, ReadCloser> reader(archive_read_new());
    archive_read_support_format_zip_seekable(reader.get());
    if (archive_read_open_filename(reader.get(), QFile::encodeName(archivePath).constData(), 256 * 1024) !=
        ARCHIVE_OK) {
        result.error = libarchiveError(reader.get(), "the archive cannot be read");
        return result;
    }
    std::unique_ptr<archive, WriteCloser> writer(archive_write_disk_new());
    archive_write_disk_set_options(
        writer.get(), ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_SECURE_SYMLINKS |
                          ARCHIVE_EXTRACT_SECURE_NODOTDOT | ARCHIVE_EXTRACT_NO_OVERWRITE);

    Namespace names;
    Made made(root);
    archive_entry* entry = nullptr;
    auto fail = [&result](QString why) {
        result.error = std::move(why);
        return result;
    };
    // Refusals for size and time take back what was written. The writer is closed first, so that no
    // file it still holds open is finished after the removal.
    auto failAndRemove = [&](QString why) {
        writer.reset();
        made.removeAll();
        return fail(std::move(why));
    };
    std::int64_t claimed = 0; // the sizes claimed by the entries met so far
    for (;;) {
        const int status = archive_read_next_header(reader.get(), &entry);
        if (status == ARCHIVE_EOF)
            break;
        if (status < ARCHIVE_WARN)
            return fail(libarchiveError(reader.get(), "the archive is damaged"));
        if (deadline.hasExpired())
            return failAndRemove(tooLong());
        if (++result.entries > limits.maxEntries)
            return fail(QStringLiteral("the archive holds more than %1 entries").arg(limits.maxEntries));
        if (archive_entry_is_encrypted(entry))
            return fail(QStringLiteral("the archive holds an encrypted entry"));

        const char* utf8 = archive_entry_pathname_utf8(entry);
        const char* raw = utf8 ? utf8 : archive_entry_pathname(entry);
        QString why;
        const std::string name = cleanName(raw ? std::string_view(raw) : std::string_view(), why);
        if (name.empty())
            return fail(why);

        Namespace::Kind kind;
        const char* hardlink = archive_entry_hardlink(entry);
        std::string linkTarget;
        if (hardlink) {
            linkTarget = cleanName(hardlink, why);
            if (linkTarget.empty())
                return fail(why);
            if (!names.isFile(linkTarget))
                return fail(QStringLiteral("the hard link ") + named(name) +
                            QStringLiteral(" does not point to a file of the archive"));
            kind = Namespace::File;
        } else {
            switch (archive_entry_filetype(entry)) {
            case AE_IFREG:
                kind = Namespace::File;
                break;
            case AE_IFDIR:
                kind = Namespace::Directory;
                break;
            case AE_IFLNK:
                kind = Namespace::Link;
                break;
            default:
                return fail(QStringLiteral("the entry ") + named(name) +
                            QStringLiteral(" is neither a file, a folder nor a link"));
            }
        }
        if (kind == Namespace::Link) {
            const char* target = archive_entry_symlink(entry);
            if (!target || !*target)
                return fail(QStringLiteral("the link ") + named(name) + QStringLiteral(" points nowhere"));
        }
        if (QString refusal = names.refuse(name, kind); !refusal.isEmpty())
            return fail(refusal);
        names.add(name, kind);

        // The size the entry claims, held to the limit before it is written. The writer is not told
        // it: it would stretch a file whose data falls short to that size, leaving a sparse file of
        // any size behind, and a hard link with a size would stretch the file it links to.
        const std::int64_t declared = archive_entry_size_is_set(entry) ? archive_entry_size(entry) : -1;
        if (declared > 0) {
            claimed += declared;
            if (declared > limits.maxBytes || claimed > limits.maxBytes)
                return failAndRemove(tooLarge(limits.maxBytes));
        }
        archive_entry_unset_size(entry);
        made.note(name);

        archive_entry_copy_pathname(entry, (root + name).c_str());
        if (hardlink)
            archive_entry_copy_hardlink(entry, (root + linkTarget).c_str());
        archive_entry_set_perm(entry,
                               archive_entry_perm(entry) & 0777 & ~mode_t(S_ISUID | S_ISGID | S_ISVTX));
        // Kept only for files; a folder's bits would otherwise lock us out of filling it.
        if (kind == Namespace::Directory)
            archive_entry_set_perm(entry, archive_entry_perm(entry) | S_IRWXU);

        if (archive_write_header(writer.get(), entry) < ARCHIVE_WARN)
            return fail(libarchiveError(writer.get(), "an entry cannot be written"));
        if (kind != Namespace::File || hardlink) {
            archive_write_finish_entry(writer.get());
            continue;
        }
        // Counted ourselves, as the file's length (a block placed past the end leaves a hole that a
        // reader still sees as data): the zip reader trusts the headers and has no check for entries
        // that share their data.
        std::int64_t length = 0;
        for (;;) {
            const void* block = nullptr;
            size_t size = 0;
            la_int64_t offset = 0;
            const int r = archive_read_data_block(reader.get(), &block, &size, &offset);
            if (r == ARCHIVE_EOF)
                break;
            if (r < ARCHIVE_WARN) {
                // libarchive 3.7 finds an entry whose data falls short of its header itself, where
                // 3.6 ended the entry early and left the count to us: both reach the count below.
                if (declared >= 0 && length < declared && sizeMismatch(reader.get()))
                    break;
                return fail(libarchiveError(reader.get(), "the archive is damaged"));
            }
            const std::int64_t end = std::int64_t(offset) + std::int64_t(size);
            if (end > length) {
                result.bytes += end - length;
                length = end;
            }
            if (declared >= 0 && length > declared)
                return failAndRemove(QStringLiteral("the entry ") + named(name) +
                                     QStringLiteral(" unpacks to more than its header says"));
            if (result.bytes > limits.maxBytes)
                return failAndRemove(tooLarge(limits.maxBytes));
            if (deadline.hasExpired())
                return failAndRemove(tooLong());
            if (archive_write_data_block(writer.get(), block, size, offset) < ARCHIVE_WARN)
                return fail(libarchiveError(writer.get(), "an entry cannot be written"));
        }
        if (declared >= 0 && length < declared)
            return failAndRemove(QStringLiteral("the entry ") + named(name) +
                                 QStringLiteral(" unpacks to less than its header says"));
        if (archive_write_finish_entry(writer.get()) < ARCHIVE_WARN)
            return fail(libarchiveError(writer.get(), "an entry cannot be written"));
        // What the file came to on disk is what counts, whatever the writer did with it.
        if (const std::int64_t onDisk = apparentSize(root + name); onDisk > length) {
            result.bytes += onDisk - length;
            if (result.bytes > limits.maxBytes)
                return failAndRemove(tooLarge(limits.maxBytes));
        }
    }
    if (archive_write_close(writer.get()) < ARCHIVE_WARN)
        return fail(libarchiveError(writer.get(), "the unpacked files cannot be finished"));
    result.ok = true;
    return result;
}

} // namespace brightloom::zip
