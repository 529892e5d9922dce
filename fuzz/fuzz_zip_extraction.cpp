// Zip unpacking of any bytes into an empty target folder each run, beside a sentinel folder holding a
// file and a link. Success or refusal, nothing outside the target may change, and nothing inside it may be
// larger than the limits allow. A link that points outside is kept as a link only (never written through),
// which is what the unpacker promises; a link is therefore allowed to point anywhere, but nothing may be
// reached through one.

#include "archive/zip_unpacking.h"
#include "require.h"

#include <QString>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <set>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using namespace brightloom;
using brightloom::fuzz::require;
namespace fs = std::filesystem;

namespace {

// Small enough that a run stays fast; the unpacker treats its limits the same at any size.
constexpr zip::Limits limits{64, 64 * 1024, 5'000};

struct Stamp
{
    bool exists = false;
    mode_t mode = 0;
    off_t size = 0;
    timespec modified{};
    std::string linkTarget;

    bool operator==(const Stamp& other) const
    {
        return exists == other.exists && mode == other.mode && size == other.size &&
               modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec &&
               linkTarget == other.linkTarget;
    }
};

Stamp stampOf(const fs::path& path)
{
    Stamp stamp;
    struct stat info;
    if (::lstat(path.c_str(), &info) != 0)
        return stamp;
    stamp.exists = true;
    stamp.mode = info.st_mode;
    stamp.size = info.st_size;
    stamp.modified = info.st_mtim;
    if (S_ISLNK(info.st_mode)) {
        std::error_code error;
        stamp.linkTarget = fs::read_symlink(path, error).string();
    }
    return stamp;
}

std::set<std::string> listing(const fs::path& folder)
{
    std::set<std::string> names;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error))
        names.insert(entry.path().filename().string());
    return names;
}

void writeFile(const fs::path& path, const void* data, std::size_t size)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    require(fd >= 0);
    require(::write(fd, data, size) == ssize_t(size));
    ::close(fd);
}

std::string readSmallFile(const fs::path& path)
{
    char bytes[256];
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return {};
    const ssize_t size = ::read(fd, bytes, sizeof bytes);
    ::close(fd);
    return size > 0 ? std::string(bytes, std::size_t(size)) : std::string();
}

// The run's folder, made on the first input and removed at exit: the archive and the target sit
// beside a sentinel folder holding a file and a link. Its sentinel is stamped before every input and
// compared after it, so a change is caught by the input that made it. Making and removing the folders
// anew for every input cost more than the unpacking itself, and so did joining their paths.
struct RunFolder
{
    fs::path base, sentinel, file, link, archive, target;
    QString archiveName, targetName;

    RunFolder()
    {
        const char* tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/fuzz-zip-XXXXXX";
        require(::mkdtemp(pattern.data()) != nullptr);
        base = fs::path(pattern);
        sentinel = base / "sentinel";
        file = sentinel / "file";
        link = sentinel / "link";
        archive = base / "input.zip";
        target = base / "target";
        archiveName = QString::fromStdString(archive.string());
        targetName = QString::fromStdString(target.string());
        fs::create_directory(sentinel);
        writeFile(file, "kept as it is", 13);
        fs::create_symlink("file", link);
    }

    ~RunFolder()
    {
        std::error_code error;
        fs::remove_all(base, error);
    }
};

// Everything outside the target: the names beside it, the sentinel folder's names, each sentinel's
// stamp, and the file's content.
struct Outside
{
    std::set<std::string> parent;
    std::set<std::string> sentinel;
    Stamp folder, file, link, archive;
    std::string content;

    bool operator==(const Outside& other) const = default;
};

Outside outsideOf(const RunFolder& run)
{
    Outside outside;
    outside.parent = listing(run.base);
    outside.sentinel = listing(run.sentinel);
    outside.folder = stampOf(run.sentinel);
    outside.file = stampOf(run.file);
    outside.link = stampOf(run.link);
    outside.archive = stampOf(run.archive);
    outside.content = readSmallFile(run.file);
    return outside;
}

bool inside(const fs::path& path, const fs::path& root)
{
    const fs::path relative = path.lexically_normal().lexically_relative(root);
    return !relative.empty() && *relative.begin() != "..";
}

// Walks the target without following links: every file, folder and link must lie inside it, the
// files' sizes must add up to no more than the limit, and no entry may have a link as a parent.
void requireTargetWithinLimits(const fs::path& root)
{
    std::int64_t bytes = 0;
    std::set<std::pair<dev_t, ino_t>> counted;
    std::error_code error;
    fs::recursive_directory_iterator it(root, fs::directory_options::none, error);
    require(!error);
    for (; it != fs::recursive_directory_iterator(); it.increment(error)) {
        require(!error);
        const fs::path path = it->path();
        require(inside(path, root));
        struct stat info;
        require(::lstat(path.c_str(), &info) == 0);
        require(S_ISREG(info.st_mode) || S_ISDIR(info.st_mode) || S_ISLNK(info.st_mode));
        require((info.st_mode & (S_ISUID | S_ISGID)) == 0);
        struct stat parent;
        require(::lstat(path.parent_path().c_str(), &parent) == 0 && S_ISDIR(parent.st_mode));
        if (S_ISREG(info.st_mode) && counted.insert({info.st_dev, info.st_ino}).second) {
            require(info.st_size <= limits.maxBytes);
            bytes += info.st_size;
        }
    }
    require(bytes <= limits.maxBytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const RunFolder run;
    writeFile(run.archive, data, size);
    require(fs::create_directory(run.target));
    const Outside before = outsideOf(run);
    require(before.content == "kept as it is");

    const zip::Result result = zip::extract(run.archiveName, run.targetName, limits);
    require(result.ok == result.error.isEmpty());
    require(result.bytes <= limits.maxBytes && result.entries <= limits.maxEntries + 1);

    require(outsideOf(run) == before);
    requireTargetWithinLimits(run.target);

    std::error_code error;
    fs::remove_all(run.target, error);
    require(!error && !fs::exists(run.target));
    return 0;
}
